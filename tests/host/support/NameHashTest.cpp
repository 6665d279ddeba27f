#include "host/support/NameHash.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::nameHash;

/// Different versions of the program must compute the same temporary names.
TEST(NameHashTest, KeepsItsValues) {
    EXPECT_EQ(nameHash(""), 0xcbf29ce484222325U);
    EXPECT_EQ(nameHash("a"), 0xaf63dc4c8601ec8cU);
    EXPECT_EQ(nameHash("foobar"), 0x85944171f73967e8U);
    EXPECT_EQ(nameHash("\xFF"), 0xaf64724c8602eb6eU);
}

} // namespace

} // namespace storage::tests
