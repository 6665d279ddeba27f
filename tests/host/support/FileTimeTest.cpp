#include "host/support/FileTime.h"

#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

namespace storage::tests {

namespace {

using namespace host;
using boost::posix_time::ptime;

TEST(FileTimeTest, RoundTripsMicroseconds) {
    const timespec time{1709211909, 123456789};
    EXPECT_EQ(formatMicroseconds(fromDiskTime(time)), "2024-02-29 13:05:09.123456 UTC");
    EXPECT_EQ(toDiskTime(fromDiskTime(time)).tv_sec, time.tv_sec);
    EXPECT_EQ(toDiskTime(fromDiskTime(time)).tv_nsec, 123456000);
}

TEST(FileTimeTest, KeepsTimesBeforeTheEpoch) {
    const timespec time{-2, 999999000};
    EXPECT_EQ(formatMicroseconds(fromDiskTime(time)), "1969-12-31 23:59:58.999999 UTC");
    EXPECT_EQ(toDiskTime(fromDiskTime(time)).tv_sec, -2);
    EXPECT_EQ(toDiskTime(fromDiskTime(time)).tv_nsec, 999999000);
}

TEST(FileTimeTest, ClampsFarTimes) {
    const timespec after{std::numeric_limits<time_t>::max(), 0};
    const timespec before{std::numeric_limits<time_t>::min(), 0};
    EXPECT_EQ(formatMicroseconds(fromDiskTime(after)), "9999-12-31 23:59:59.999999 UTC");
    EXPECT_EQ(formatMicroseconds(fromDiskTime(before)), "1400-01-01 00:00:00.000000 UTC");
    EXPECT_FALSE(isStorageTime(after));
    EXPECT_FALSE(isStorageTime(before));
}

TEST(FileTimeTest, KeepsTheLastSecondOfTheYear9999) {
    const timespec last{253402300799, 123456000};
    EXPECT_EQ(formatMicroseconds(fromDiskTime(last)), "9999-12-31 23:59:59.123456 UTC");
    EXPECT_TRUE(isStorageTime(last));
    EXPECT_FALSE(isStorageTime({last.tv_sec + 1, 0}));
}

TEST(FileTimeTest, ConvertsNotADateToOmit) {
    const ptime none(boost::posix_time::not_a_date_time);
    EXPECT_EQ(toDiskTime(none).tv_nsec, UTIME_OMIT);
    EXPECT_EQ(formatSeconds(none), "-");
    EXPECT_EQ(formatMicroseconds(none), "-");
}

} // namespace

} // namespace storage::tests
