#pragma once

#include <atomic>
#include <cstdint>

namespace storage::host {

/// A mutex of four bytes, because there may be millions of inodes. A waiting thread blocks in the kernel.
class InodeLock {
public:
    void lock() noexcept {
        std::uint32_t state = unlocked;
        if (state_.compare_exchange_strong(state, locked, std::memory_order_acquire)) {
            return;
        }
        while (state_.exchange(contended, std::memory_order_acquire) != unlocked) {
            state_.wait(contended, std::memory_order_relaxed);
        }
    }

    void unlock() noexcept {
        if (state_.exchange(unlocked, std::memory_order_release) == contended) {
            state_.notify_one();
        }
    }

private:
    static constexpr std::uint32_t unlocked = 0;
    static constexpr std::uint32_t locked = 1;
    static constexpr std::uint32_t contended = 2; ///< threads may be waiting

    std::atomic<std::uint32_t> state_{unlocked};
};

} // namespace storage::host
