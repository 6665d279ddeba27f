#include "hostapi/storage/provider/FileAttributes.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <gtest/gtest.h>

#include <limits>

namespace storage::tests {

using provider::FileAttributes;

namespace {

const boost::posix_time::ptime someTime(boost::gregorian::date(2024, 2, 29),
                                        boost::posix_time::microseconds(123456));

TEST(FileAttributesTest, ReturnsItsConstructorArguments) {
    const FileAttributes writable(17, someTime, true);
    EXPECT_EQ(writable.getSize(), 17U);
    EXPECT_EQ(writable.getLastModified(), someTime);
    EXPECT_TRUE(writable.isWritable());
    EXPECT_FALSE(FileAttributes(0, someTime, false).isWritable());
}

TEST(FileAttributesTest, StoresEverySize) {
    constexpr unsigned long largest = std::numeric_limits<unsigned long>::max();
    EXPECT_EQ(FileAttributes(largest, someTime, true).getSize(), largest);
}

} // namespace

} // namespace storage::tests
