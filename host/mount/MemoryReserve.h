#pragma once

#include <cstddef>
#include <memory>
#include <mutex>

namespace storage::host {

/// Memory that is put aside for the time when there is none left, so that programs can still look around in a mount
/// and remove what they need least.
///
/// Owns the memory; a mutex of its own guards it. Thread safety: any number of threads.
class MemoryReserve {
public:
    MemoryReserve() { restore(); }

    /// Whether there is not even memory for an ordinary request.
    static bool isNeeded() noexcept;

    void giveUp() noexcept;

    /// Puts memory aside again, if there is any.
    void restore() noexcept;

private:
    static constexpr std::size_t size = 1U << 20U; ///< bytes

    std::mutex mutex_;
    std::unique_ptr<char[]> memory_;
};

} // namespace storage::host
