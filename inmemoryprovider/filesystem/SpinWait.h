#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace storage::inmemoryprovider {

// Waiting for another thread: spinning first, because most waits are shorter than putting a thread to sleep and waking it;
// then sleeping, because the other thread may need this processor.

/// How often a waiting thread looks before it sleeps. A few microseconds in all, about as long as going to sleep takes.
inline constexpr int spinLimit = 100;

/// Tells the processor that this thread spins.
void spinHint() noexcept;

/// Acquires `mutex`, unless another thread holds it all the time while this one spins up to `spinLimit` times.
/// @return whether it was acquired
[[nodiscard]] bool spinTryLock(std::mutex& mutex) noexcept;

/// Returns when `word` is seen to differ from `value`. Spins up to `spinLimit` times, then sleeps.
void waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept;

/// Wakes the threads that sleep until `word` changes; without any, makes no system call. `word` must have been changed by
/// a sequentially consistent operation, so that a thread that goes to sleep meanwhile sees the new value.
void wakeWaiters(std::atomic<std::uint32_t>& word) noexcept;

} // namespace storage::inmemoryprovider
