#include "host/validate/checks/CheckCatalogue.h"

#include <gmock/gmock.h>
#include <set>
#include <string>

namespace storage::tests {

namespace {

using namespace host;
using testing::MatchesRegex;

TEST(CheckCatalogueTest, NumbersRulesInOrder) {
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

TEST(CheckCatalogueTest, HasUniqueNamesInOneStyle) {
    std::set<std::string> names;
    for (const CheckGroup& group : checkCatalogue()) {
        for (const Check& check : group.checks) {
            EXPECT_THAT(check.name, MatchesRegex("[a-z]+(-[a-z]+)*\\.[a-z0-9]+(-[a-z0-9]+)*"))
                << check.number;
            EXPECT_THAT(check.rule, MatchesRegex("[A-Za-z][^\n]*[^. \n]\\."))
                << check.number << ": one sentence in one line";
            EXPECT_TRUE(names.insert(check.name).second) << check.name << " exists twice";
        }
    }
}

} // namespace

} // namespace storage::tests
