#include "host/validate/CheckCatalogue.h"
#include "host/validate/CheckContext.h"
#include "host/validate/RuleBroken.h"
#include "tests/host/validate/AllFaults.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace storage::host;

namespace {

std::vector<Check> allChecks() {
    std::vector<Check> all;
    for (const CheckGroup& group : checkCatalogue()) {
        all.insert(all.end(), group.checks.begin(), group.checks.end());
    }
    return all;
}

class TheInMemoryProvider : public testing::TestWithParam<Check> {};

TEST_P(TheInMemoryProvider, keepsTheRule) {
    CheckContext context(TEST_PLUGIN, Profile::InMemoryProvider, 1);
    GetParam().run(context);
}

INSTANTIATE_TEST_SUITE_P(Checks, TheInMemoryProvider, testing::ValuesIn(allChecks()), [](const auto& each) {
    std::string name = each.param.name;
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
});

class ABrokenProvider : public testing::TestWithParam<Fault> {};

TEST_P(ABrokenProvider, isCaughtByTheRuleThatItBreaks) {
    ::setenv("BROKEN_PLUGIN", GetParam().name, 1);
    for (const Check& check : allChecks()) {
        if (std::string(check.number) == GetParam().caughtBy) {
            CheckContext context(TEST_BROKEN_PLUGIN, Profile::InMemoryProvider, 1);
            try {
                check.run(context);
                FAIL() << "not caught";
            } catch (const RuleBroken& broken) {
                std::cout << check.number << ": " << broken.what() << '\n';
            }
            return;
        }
    }
    FAIL() << "no such check: " << GetParam().caughtBy;
}

INSTANTIATE_TEST_SUITE_P(Faults, ABrokenProvider, testing::ValuesIn(allFaults()),
                         [](const auto& each) { return each.param.name; });

} // namespace
