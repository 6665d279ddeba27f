#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <ctime>
#include <string>

namespace storage::host {

inline constexpr long microsecondsPerSecond = 1'000'000;

/// Converts a time from the disk to storage time: UTC, rounded down to the microsecond, clamped to the years
/// 1400 to 9999.
boost::posix_time::ptime fromDiskTime(const timespec& time);

bool isSameTime(const timespec& one, const timespec& other) noexcept;

/// Whether a time on disk lies in the years that a storage can represent.
bool isStorageTime(const timespec& time);

/// Converts a storage time for utimensat(2). A special value (not a date-time, or infinite) leaves the time
/// on disk unchanged.
timespec toDiskTime(const boost::posix_time::ptime& time);

/// "2024-02-29 13:05:09", UTC.
std::string formatSeconds(const boost::posix_time::ptime& time);

/// "2024-02-29 13:05:09.000123 UTC".
std::string formatMicroseconds(const boost::posix_time::ptime& time);

/// A time on disk in UTC, with nine fractional digits if six are not enough.
std::string formatDiskTime(const timespec& time);

} // namespace storage::host
