#include "hostapi/storage/provider/FolderAttributes.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <gtest/gtest.h>

namespace storage::tests {

using provider::FolderAttributes;

namespace {

TEST(FolderAttributesTest, ReturnsItsConstructorArguments) {
    const boost::posix_time::ptime time(boost::gregorian::date(2024, 2, 29),
                                        boost::posix_time::microseconds(123456));
    const FolderAttributes writable(time, true);
    EXPECT_EQ(writable.getLastModified(), time);
    EXPECT_TRUE(writable.isWritable());
    EXPECT_FALSE(FolderAttributes(time, false).isWritable());
}

} // namespace

} // namespace storage::tests
