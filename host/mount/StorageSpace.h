#pragma once

#include "host/mount/MachineMemory.h"
#include "host/mount/MemoryReserve.h"
#include "host/mount/Mutex.h"
#include "host/mount/StorageQuota.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace storage::host {

/// The room for content. If the provider does not report it, it is the memory that the process may still use.
/// Beyond that, the OOM killer would end this program, and all files would be lost.
///
/// Room is checked for the peak of an operation. The peaks of concurrent operations add up, so when little
/// room is left, growing operations exclude each other.
///
/// Removing small files frees memory of the heap in pages that hold other files too. Only small files can use
/// it. So small operations may go on when memory is short but the heap has such memory. Not every allocation
/// fits there, so they may also use a part of the memory that is otherwise left to other processes.
///
/// Borrows the constructor arguments. Thread-safe.
class StorageSpace {
public:
    using IProvider = provider::IProvider;
    using ProviderStorageInfo = provider::ProviderStorageInfo;

    /// @param linksToExport  number of names beyond the first of their files, if the storage is exported in
    ///     the end: memory must be left for the export. Null without an export
    explicit StorageSpace(const IProvider& provider, const StorageLimits& limits = {},
                          const StorageUse& use = {},
                          const std::atomic<std::uint64_t>* linksToExport = nullptr,
                          MachineMemory::Sources sources = {})
        : provider_(provider),
          sources_(std::move(sources)),
          linksToExport_(linksToExport),
          quota_(limits, use) {}

    /// The scope of one operation that may grow the storage. Construct it before acquiring the tree's
    /// lock or an inode's guard. Blocks while little memory or quota is left and another such operation runs.
    class Turn {
    public:
        explicit Turn(StorageSpace& space) QZFL_NO_THREAD_ANALYSIS;
        ~Turn() QZFL_NO_THREAD_ANALYSIS;
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        StorageSpace& space_;
        const bool isHeld_;
    };

    /// Capacity and available room in bytes, including room that only small files can use.
    ProviderStorageInfo info() const;

    /// The limits that the user has set.
    StorageQuota& quota() noexcept { return quota_; }
    const StorageQuota& quota() const noexcept { return quota_; }

    /// Describes the limiting resource for messages.
    std::string limit() const { return room().limitedBy; }

    /// Memory that is released when allocations fail. The storage may not grow until the reserve is complete
    /// again.
    MemoryReserve& reserve() noexcept { return reserve_; }

    /// Refuses growth for which there is no room. Precondition: the caller holds a `Turn`.
    /// @param bytes      by which the storage is to grow
    /// @param transient  bytes that the operation allocates in addition and frees again
    /// @throws ErrnoError ENOSPC
    void require(std::uint64_t bytes, std::uint64_t transient = 0);

    /// Notes that something was removed. Freed memory that the allocator keeps is returned to the system when
    /// room is short or by `giveBack`.
    void noteRemoval() noexcept { isHeapChanged_.store(true, std::memory_order_relaxed); }

    /// Whether the heap may have free memory that `giveBack` has not seen.
    bool isHeapChanged() const noexcept { return isHeapChanged_.load(std::memory_order_relaxed); }

    /// Returns memory that removals have freed to the system, and measures what remains free in the heap.
    /// @return whether the heap has changed since the last call
    bool giveBack() noexcept;

private:
    struct Room {
        ProviderStorageInfo info;
        std::string limitedBy;
        bool isMemory = false;   ///< false if the provider reports its room
        std::uint64_t slack = 0; ///< unused bytes that operations which reuse memory of the heap may take
    };

    Room room() const;
    std::uint64_t leftFree(const MachineMemory& memory) const;
    static bool take(std::atomic<std::int64_t>& granted, std::uint64_t bytes) noexcept;
    std::uint64_t reusable(std::uint64_t capacity) const noexcept;
    bool grantReuse(std::uint64_t bytes, const Room& room) noexcept;

    const IProvider& provider_;
    const MachineMemory::Sources sources_;
    const std::atomic<std::uint64_t>* const linksToExport_; ///< null without an export
    StorageQuota quota_;
    MemoryReserve reserve_;
    Mutex turn_;                             ///< held by the growing operation when little room is left
    std::atomic<bool> isScarce_{false};      ///< at the last check of the memory
    std::atomic<bool> isHeapChanged_{false}; ///< by removals or reuse since the heap was measured
    std::atomic<std::int64_t> granted_{0};   ///< bytes that may be allocated before the next check
    std::atomic<std::int64_t> freeHeap_{0};  ///< when last measured, less the small growth since then
    std::atomic<std::int64_t> reuse_{0}; ///< bytes that small operations may allocate before the next check
};

} // namespace storage::host
