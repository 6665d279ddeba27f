#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <ctime>
#include <string>

namespace storage::host {

inline constexpr long microsecondsPerSecond = 1'000'000;

/// A time of the disk as storages keep it: UTC, rounded down to the microsecond. What lies outside the years
/// 1400 to 9999 becomes the nearest time inside.
boost::posix_time::ptime fromDiskTime(const timespec& time);

/// Whether a time of the disk lies in the years that storages keep.
bool isStorageTime(const timespec& time);

/// A time of a storage as the disk takes it, for utimensat(2). A time that is none ("not a date") leaves the
/// disk's own in place.
timespec toDiskTime(const boost::posix_time::ptime& time);

/// "2024-02-29 13:05:09", UTC.
std::string formatSeconds(const boost::posix_time::ptime& time);

/// "2024-02-29 13:05:09.000123 UTC".
std::string formatMicroseconds(const boost::posix_time::ptime& time);

/// A time of the disk, UTC, with nine digits of the second if it takes more than six.
std::string formatDiskTime(const timespec& time);

} // namespace storage::host
