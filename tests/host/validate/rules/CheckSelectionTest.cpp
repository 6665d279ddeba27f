#include "host/validate/rules/CheckSelection.h"

#include "host/support/UsageError.h"
#include "tests/support/MadeUpChecks.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using namespace host;
using testing::ThrowsMessage;

using Patterns = std::vector<std::string>;

std::string selected(Profile profile, const Patterns& patterns) {
    std::string numbers;
    for (const auto& rule : CheckSelection::of(madeUpChecks(), profile, patterns).rules) {
        numbers += (numbers.empty() ? "" : " ") + std::string(rule.check->number);
    }
    return numbers;
}

TEST(CheckSelectionTest, SelectsTheRulesOfAProfile) {
    EXPECT_EQ(selected(Profile::InMemoryProvider, {}), "1.1 1.2 1.3 2.1 2.2");
    EXPECT_EQ(selected(Profile::AnyProvider, {}), "1.1 1.2 1.3 2.2");
    EXPECT_EQ(CheckSelection::of(madeUpChecks(), Profile::InMemoryProvider, {}).leftOut, 0U);
    EXPECT_EQ(CheckSelection::of(madeUpChecks(), Profile::AnyProvider, {}).leftOut, 1U);
}

TEST(CheckSelectionTest, SelectsRulesByPatternsOfNumbersOrNames) {
    EXPECT_EQ(selected(Profile::InMemoryProvider, {"1.*"}), "1.1 1.2 1.3");
    EXPECT_EQ(selected(Profile::InMemoryProvider, {"numbers.*"}), "2.1 2.2");
    EXPECT_EQ(selected(Profile::InMemoryProvider, {"*kept*"}), "1.1 2.1");
    EXPECT_EQ(selected(Profile::InMemoryProvider, {"2.2", "?.1", "letters.kept"}), "1.1 2.1 2.2");
    EXPECT_EQ(selected(Profile::InMemoryProvider, {"1.1"}), "1.1");
    EXPECT_EQ(CheckSelection::of(madeUpChecks(), Profile::AnyProvider, {"1.*"}).leftOut, 0U);
    EXPECT_EQ(CheckSelection::of(madeUpChecks(), Profile::AnyProvider, {"2.*"}).leftOut, 1U);
}

TEST(CheckSelectionTest, RejectsAPatternThatSelectsNothing) {
    for (const char* const pattern : {"3.*", "1", "", "Letters.kept", "\xFF"}) {
        EXPECT_THROW(selected(Profile::InMemoryProvider, {"1.1", pattern}), UsageError) << pattern;
    }
    EXPECT_THAT(
        [] { selected(Profile::InMemoryProvider, {"x*"}); },
        ThrowsMessage<UsageError>("no rule matches 'x*'; 'qzstorage validate --list' lists the rules"));
    EXPECT_THAT([] { selected(Profile::AnyProvider, {"2.1"}); },
                ThrowsMessage<UsageError>("no rule of the profile 'any' matches '2.1'"));
}

} // namespace

} // namespace storage::tests
