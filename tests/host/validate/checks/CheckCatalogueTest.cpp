#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/CheckRunner.h"
#include "tests/host/validate/faults/AllFaults.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <set>

namespace {

using namespace storage::host;
using testing::AnyOf;
using testing::MatchesRegex;

constexpr std::chrono::seconds timeLimit(60);

#ifdef QZSTORAGE_SANITIZED // sanitizers do not let memory run out
const testing::Matcher<CheckResult> kept = AnyOf(CheckResult::Pass, CheckResult::Skip);
const testing::Matcher<CheckResult> caught = AnyOf(CheckResult::Fail, CheckResult::Crash, CheckResult::Skip);
#else
const testing::Matcher<CheckResult> kept = CheckResult::Pass;
const testing::Matcher<CheckResult> caught = AnyOf(CheckResult::Fail, CheckResult::Crash);
#endif

std::vector<Check> allChecks() {
    std::vector<Check> all;
    for (const CheckGroup& group : checkCatalogue()) {
        all.insert(all.end(), group.checks.begin(), group.checks.end());
    }
    return all;
}

TEST(CheckCatalogueTest, RulesAreNumberedInOrder) {
    int lastGroup = 0;
    for (const CheckGroup& group : checkCatalogue()) {
        EXPECT_GT(group.number, lastGroup);
        lastGroup = group.number;
        int lastRule = 0;
        for (const Check& check : group.checks) {
            const std::string number = check.number;
            const std::size_t point = number.find('.');
            ASSERT_EQ(number.substr(0, point), std::to_string(group.number)) << number;
            const int rule = std::stoi(number.substr(point + 1));
            EXPECT_GT(rule, lastRule) << number;
            EXPECT_EQ(number, std::to_string(group.number) + '.' + std::to_string(rule));
            lastRule = rule;
        }
    }
}

TEST(CheckCatalogueTest, NamesAreUniqueAndAlike) {
    std::set<std::string> names;
    for (const Check& check : allChecks()) {
        EXPECT_THAT(check.name, MatchesRegex("[a-z]+(-[a-z]+)*\\.[a-z0-9]+(-[a-z0-9]+)*")) << check.number;
        EXPECT_THAT(check.rule, MatchesRegex("[A-Za-z][^\n]*[^. \n]\\."))
            << check.number << ": one sentence in one line";
        EXPECT_TRUE(names.insert(check.name).second) << check.name << " is there twice";
    }
}

TEST(CheckCatalogueTest, TheInMemoryProviderKeepsEveryRule) {
    const CheckRunner runner(TEST_PLUGIN, Profile::InMemoryProvider, 1, timeLimit);
    for (const Check& check : allChecks()) {
        const CheckOutcome outcome = runner.run(check);
        EXPECT_THAT(outcome.verdict.result, kept) << check.number << ' ' << check.rule << '\n'
                                                  << outcome.verdict.reason << '\n'
                                                  << outcome.output;
    }
}

TEST(CheckCatalogueTest, EveryFaultIsCaughtByTheRuleThatItBreaks) {
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
        EXPECT_THAT(outcome.verdict.result, caught)
            << fault.name << " is not caught by " << check->number << ' ' << check->rule << '\n'
            << outcome.verdict.reason;
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
