#pragma once

#include <ctime>

namespace storage::core_operations {

/// What every clock of this program tells, in seconds since 1970: a real one would be in the figures, for a reading is
/// turned into a date month by month.
///
/// Linking this replaces `gettimeofday` and `clock_gettime` in the whole program, shared libraries included.
inline constexpr std::time_t stoppedClock = 1'750'000'000;

} // namespace storage::core_operations
