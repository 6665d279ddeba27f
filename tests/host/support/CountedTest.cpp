#include "host/support/Counted.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::counted;

TEST(CountedTest, UsesSingularForOne) {
    EXPECT_EQ(counted(0, "folder"), "0 folders");
    EXPECT_EQ(counted(1, "folder"), "1 folder");
    EXPECT_EQ(counted(1, "entry", "entries"), "1 entry");
    EXPECT_EQ(counted(2, "entry", "entries"), "2 entries");
}

} // namespace

} // namespace storage::tests
