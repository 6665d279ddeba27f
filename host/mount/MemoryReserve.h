#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace storage::host {

/// Memory that is reserved in advance and released when allocations fail, so that programs can still list a
/// mount and remove files.
///
/// Owns mappings of address space, which use no physical memory. `isNeeded` is thread-safe; the other
/// functions are externally synchronized.
class MemoryReserve {
public:
    MemoryReserve() { restore(); }
    ~MemoryReserve() { giveUp(); }
    MemoryReserve(const MemoryReserve&) = delete;
    MemoryReserve& operator=(const MemoryReserve&) = delete;

    bool isComplete() const noexcept { return isComplete_; }

    /// Whether the allocations of an ordinary request would fail.
    bool isNeeded() const noexcept;

    void giveUp() noexcept;

    /// Reserves as many of the released pieces as possible.
    void restore() noexcept;

private:
    static constexpr std::size_t pieceSize = 512U << 10U; ///< bytes

    std::array<void*, 4> pieces_{}; ///< null where the allocation failed
    std::atomic<bool> isComplete_{false};
};

} // namespace storage::host
