#include "host/validate/CheckRunner.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <set>

namespace storage::tests {

namespace {

using namespace host;
using testing::AnyOf;
using Result = CheckOutcome::Result;

constexpr std::chrono::minutes timeLimit(10); // fails instead of hanging

#ifdef QZSTORAGE_SANITIZED // sanitizers do not allow allocations to fail
const testing::Matcher<Result> kept = AnyOf(Result::Pass, Result::Skip);
const testing::Matcher<Result> caught = AnyOf(Result::Fail, Result::Crash, Result::Skip);
#else
const testing::Matcher<Result> kept = Result::Pass;
const testing::Matcher<Result> caught = AnyOf(Result::Fail, Result::Crash);
#endif

/// Checks the rules of a group, given by its number: with the correct plug-in, and with each provider that
/// breaks one of them.
class CatalogueRunTest : public testing::TestWithParam<int> {
protected:
    ~CatalogueRunTest() override { ::unsetenv("BROKEN_PLUGIN"); }

    static std::span<const Check> checks() {
        return checkCatalogue()[static_cast<std::size_t>(GetParam() - 1)].checks;
    }

    static CheckOutcome outcomeOf(const char* plugin, const Check& check) {
        return CheckRunner{plugin, Profile::InMemoryProvider, 1, timeLimit}.run(check);
    }
};

TEST_P(CatalogueRunTest, PassesTheInMemoryProvider) {
    for (const Check& check : checks()) {
        const CheckOutcome outcome = outcomeOf(TEST_PLUGIN, check);
        EXPECT_THAT(outcome.result, kept) << check.number << ' ' << check.rule << '\n'
                                          << outcome.reason << '\n'
                                          << outcome.output;
    }
}

TEST_P(CatalogueRunTest, DetectsEveryFaultByTheRuleThatItBreaks) {
#ifdef QZSTORAGE_SANITIZED
    if (GetParam() % 4 != 0) {
        GTEST_SKIP() << "takes minutes with sanitizers; the other presets run it";
    }
#endif
    const std::vector<Fault> faults = allFaults();
    for (const Check& check : checks()) {
        int breaking = 0;
        for (const Fault& fault : faults) {
            if (std::string(check.number) != fault.caughtBy) {
                continue;
            }
            ++breaking;
            ::setenv("BROKEN_PLUGIN", fault.name, /*replace*/ 1);
            const CheckOutcome outcome = outcomeOf(TEST_BROKEN_PLUGIN, check);
            EXPECT_THAT(outcome.result, caught)
                << fault.name << " is not caught by " << check.number << ' ' << check.rule << '\n'
                << outcome.reason;
        }
        EXPECT_GT(breaking, 0) << check.number << ": no broken provider shows that the check can fail";
    }
}

INSTANTIATE_TEST_SUITE_P(, CatalogueRunTest,
                         testing::Range(1, static_cast<int>(checkCatalogue().size()) + 1));

TEST(FaultCatalogueTest, HasUniqueNamesAndARuleForEachFault) {
    std::set<std::string> rules;
    for (const CheckGroup& group : checkCatalogue()) {
        for (const Check& check : group.checks) {
            rules.insert(check.number);
        }
    }
    std::set<std::string> names;
    for (const Fault& fault : allFaults()) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name << " exists twice";
        EXPECT_TRUE(rules.contains(fault.caughtBy)) << fault.name << ": there is no rule " << fault.caughtBy;
    }
}

} // namespace

} // namespace storage::tests
