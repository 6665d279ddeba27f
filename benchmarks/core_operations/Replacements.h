#pragma once

#include <cstddef>
#include <ctime>

// Replaces the allocation functions, the clocks and sched_getcpu in the whole program and its libraries.

namespace storage::core_operations {

/// The time that every clock of this program returns, in seconds since 1970. With a real clock the counts
/// would depend on the date, because converting a time to a date loops over the months.
inline constexpr std::time_t stoppedClock = 1'750'000'000;

/// Calls of operator new while `isCounting` is set. Not thread-safe.
struct Allocations {
    bool isCounting = false;
    unsigned long count = 0;
    std::size_t bytes = 0; ///< as requested
};

extern Allocations allocations;

} // namespace storage::core_operations
