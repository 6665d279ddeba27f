#pragma once

#include "host/mount/MachineMemory.h"
#include "host/mount/MemoryReserve.h"
#include "host/mount/Mutex.h"
#include "host/mount/StorageQuota.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace storage::host {

/// How much room there is for content. A storage that does not say has what memory the process may still use: filled to
/// the last, it would be this program that the system ends, with all its files.
///
/// Room is checked for the peak of an operation. The peaks of operations that run side by side would add up, so when
/// little memory is left, operations that grow take turns.
///
/// Borrows the provider. Thread safety: any number of threads.
class StorageSpace {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;

    explicit StorageSpace(const IProvider& provider, const StorageLimits& limits = {},
                          const StorageUse& use = {}, MachineMemory::Sources sources = {})
        : provider_(provider), sources_(std::move(sources)), quota_(limits, use) {}

    /// One operation that may grow, from before it acquires any other lock to its end. Waits for its turn while little
    /// memory is left.
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

    /// Capacity and what is left of it, in bytes.
    ProviderStorageInfo info() const { return quota_.limited(room().info); }

    /// The limits that the user has set.
    StorageQuota& quota() noexcept { return quota_; }
    const StorageQuota& quota() const noexcept { return quota_; }

    /// What limits the room, in words; for messages.
    std::string limit() const { return room().limitedBy; }

    /// Memory for the time when there is none; nothing may grow until it has all been put aside again.
    MemoryReserve& reserve() noexcept { return reserve_; }

    /// Refuses growth for which there is no room. Requires a `Turn`.
    /// @param bytes      by which the storage is to grow
    /// @param transient  bytes that the operation takes in addition and frees again
    /// @throws ErrnoError ENOSPC
    void require(std::uint64_t bytes, std::uint64_t transient = 0);

    /// Something was removed: freed memory that the allocator keeps is given back when room is short or by `giveBack`.
    void noteRemoval() noexcept { hasRemovals_.store(true, std::memory_order_relaxed); }

    bool hasRemovals() const noexcept { return hasRemovals_.load(std::memory_order_relaxed); }

    /// Gives memory that removals have freed back to the system.
    /// @return whether there was any removal
    bool giveBack() noexcept;

private:
    struct Room {
        ProviderStorageInfo info;
        std::string limitedBy;
        bool isMemory; ///< otherwise the provider says how much room it has
    };

    Room room() const;

    const IProvider& provider_;
    const MachineMemory::Sources sources_;
    StorageQuota quota_;
    MemoryReserve reserve_;
    Mutex turn_;                           ///< held by the operation that grows while `isScarce_`
    std::atomic<bool> isScarce_{false};    ///< as of the last look at the memory
    std::atomic<bool> hasRemovals_{false}; ///< since memory was given back
    std::atomic<std::int64_t> granted_{0}; ///< bytes that may be taken before asking again
};

} // namespace storage::host
