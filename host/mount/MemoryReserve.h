#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace storage::host {

/// Memory that is put aside for the time when there is none left, so that programs can still look around in a mount
/// and remove what they need least.
///
/// Owns pieces of address space, which take no memory of the machine. Thread safety: `isNeeded` from any number of threads,
/// the rest from one at a time.
class MemoryReserve {
public:
    MemoryReserve() { restore(); }
    ~MemoryReserve() { giveUp(); }
    MemoryReserve(const MemoryReserve&) = delete;
    MemoryReserve& operator=(const MemoryReserve&) = delete;

    bool isComplete() const noexcept { return isComplete_; }

    /// Whether there is not even memory for an ordinary request.
    bool isNeeded() const noexcept;

    void giveUp() noexcept;

    /// Puts aside again what there is.
    void restore() noexcept;

private:
    static constexpr std::size_t pieceSize = 512U << 10U; ///< bytes

    std::array<void*, 4> pieces_{}; ///< null where there was no memory for one
    std::atomic<bool> isComplete_{false};
};

} // namespace storage::host
