#pragma once

#include <ctime>

namespace storage::core_operations {

/// The time that every clock of this program returns, in seconds since 1970. With a real clock the counts
/// would depend on the date, because a reading is converted to a date in a loop over the months.
///
/// Linking this file replaces `gettimeofday` and `clock_gettime` in the whole program, shared libraries
/// included.
inline constexpr std::time_t stoppedClock = 1'750'000'000;

} // namespace storage::core_operations
