#include "host/validate/CheckRunner.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <iostream>
#include <set>

namespace storage::tests {

namespace {

using namespace host;
using testing::AnyOf;
using Result = CheckOutcome::Result;

constexpr std::chrono::seconds timeLimit(60);

#ifdef QZSTORAGE_SANITIZED // sanitizers do not allow allocations to fail
const testing::Matcher<Result> kept = AnyOf(Result::Pass, Result::Skip);
const testing::Matcher<Result> caught = AnyOf(Result::Fail, Result::Crash, Result::Hang, Result::Skip);
#else
const testing::Matcher<Result> kept = Result::Pass;
const testing::Matcher<Result> caught = AnyOf(Result::Fail, Result::Crash, Result::Hang);
#endif

std::vector<Check> allChecks() {
    std::vector<Check> all;
    for (const CheckGroup& group : checkCatalogue()) {
        all.insert(all.end(), group.checks.begin(), group.checks.end());
    }
    return all;
}

TEST(CatalogueRunTest, TheInMemoryProviderKeepsEveryRule) {
    const CheckRunner runner(TEST_PLUGIN, Profile::InMemoryProvider, 1, timeLimit);
    for (const Check& check : allChecks()) {
        const CheckOutcome outcome = runner.run(check);
        EXPECT_THAT(outcome.result, kept) << check.number << ' ' << check.rule << '\n'
                                          << outcome.reason << '\n'
                                          << outcome.output;
    }
}

TEST(CatalogueRunTest, EveryFaultIsCaughtByTheRuleThatItBreaks) {
    const CheckRunner runner(TEST_BROKEN_PLUGIN, Profile::InMemoryProvider, 1, timeLimit);
    const std::vector<Check> checks = allChecks();
    std::set<std::string> names;
    const std::vector<Fault> faults = allFaults();
    for (const Fault& fault : faults) {
        ASSERT_TRUE(names.insert(fault.name).second) << fault.name << " is there twice";
        ::setenv("BROKEN_PLUGIN", fault.name, /*replace*/ 1);
        const auto check = std::find_if(checks.begin(), checks.end(), [&](const Check& each) {
            return std::string(each.number) == fault.caughtBy;
        });
        ASSERT_NE(check, checks.end()) << fault.name << ": there is no rule " << fault.caughtBy;
        const CheckOutcome outcome = runner.run(*check);
        EXPECT_THAT(outcome.result, caught)
            << fault.name << " is not caught by " << check->number << ' ' << check->rule << '\n'
            << outcome.reason;
    }
    for (const Check& check : checks) {
        EXPECT_TRUE(
            std::any_of(faults.begin(), faults.end(),
                        [&](const Fault& fault) { return std::string(check.number) == fault.caughtBy; }))
            << check.number << ": no broken provider shows that the check can fail";
    }
    std::cout << faults.size() << " broken providers, each caught by one of " << checks.size() << " rules\n";
}

} // namespace

} // namespace storage::tests
