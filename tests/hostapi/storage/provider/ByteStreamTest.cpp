#include "hostapi/storage/provider/ByteStream.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/VtableSlot.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace storage::tests {

using provider::ByteStream;

namespace {

TEST(ByteStreamTest, HasItsOperationsAfterTheDestructorInTheOrderOfTheAbi) {
    static_assert(std::has_virtual_destructor_v<ByteStream>);
    EXPECT_EQ(vtableSlot(&ByteStream::read), 2);
    EXPECT_EQ(vtableSlot(&ByteStream::write), 3);
    EXPECT_EQ(vtableSlot(&ByteStream::seek), 4);
    EXPECT_EQ(vtableSlot(&ByteStream::flush), 5);
}

} // namespace

} // namespace storage::tests
