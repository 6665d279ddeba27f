#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace storage::inmemoryprovider {

// Waiting for another thread. A waiting thread spins first, because most waits are shorter than a sleep and a
// wake-up. Then it sleeps, because the other thread may need this processor.

/// The number of polls before a waiting thread sleeps: a few microseconds in total, about the cost of going
/// to sleep.
inline constexpr int spinLimit = 100;

/// Hints to the processor that this thread spins.
void spinHint() noexcept;

/// Tries to acquire `mutex` up to `spinLimit` times.
/// @return whether it was acquired
[[nodiscard]] bool spinTryLock(std::mutex& mutex) noexcept;

/// Waits until `word` differs from `value`. Spins up to `spinLimit` times, then sleeps.
void waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept;

/// Wakes the threads that wait for `word` to change. Makes no system call if there are none. `word` must have
/// been changed by a sequentially consistent operation, so that a thread about to sleep sees the new value.
void wakeWaiters(std::atomic<std::uint32_t>& word) noexcept;

} // namespace storage::inmemoryprovider
