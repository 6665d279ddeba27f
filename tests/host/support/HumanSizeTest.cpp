#include "host/support/HumanSize.h"

#include <gtest/gtest.h>
#include <limits>

namespace storage::tests {

namespace {

using host::humanSize;

TEST(HumanSizeTest, CountsBytesBelowOneUnit) {
    EXPECT_EQ(humanSize(0), "0");
    EXPECT_EQ(humanSize(1023), "1023");
}

TEST(HumanSizeTest, RoundsUpToTwoDigitsOrWholeUnits) {
    EXPECT_EQ(humanSize(1024), "1.0K");
    EXPECT_EQ(humanSize(1025), "1.1K");
    EXPECT_EQ(humanSize(1536), "1.5K");
    EXPECT_EQ(humanSize(10 * 1024), "10K");
    EXPECT_EQ(humanSize(10 * 1024 - 1), "10K");
    EXPECT_EQ(humanSize(10 * 1024 + 1), "11K");
    EXPECT_EQ(humanSize(1023 * 1024), "1023K");
}

TEST(HumanSizeTest, RoundsUpIntoTheNextUnit) {
    EXPECT_EQ(humanSize(1023 * 1024 + 1), "1.0M");
    EXPECT_EQ(humanSize(1ULL << 30U), "1.0G");
    EXPECT_EQ(humanSize(std::numeric_limits<unsigned long long>::max()), "16E");
}

} // namespace

} // namespace storage::tests
