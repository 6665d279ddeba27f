#pragma once

#include "host/mount/MemoryReserve.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"

#include <atomic>
#include <cstdint>

namespace storage::host {

/// How much room there is for content. A storage that does not say has what memory the machine has left: filled to
/// the last, it would be this program that the system ends, with all its files.
///
/// Borrows the provider. Thread safety: any number of threads.
class StorageSpace {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;

    explicit StorageSpace(const IProvider& provider) : provider_(provider) {}

    /// Capacity and what is left of it, in bytes.
    ProviderStorageInfo info() const;

    /// Memory for the time when there is none; nothing may grow until it has all been put aside again.
    MemoryReserve& reserve() noexcept { return reserve_; }

    /// Refuses growth for which there is no room.
    /// @param bytes  by which a file is to grow
    /// @throws ErrnoError ENOSPC
    void require(std::uint64_t bytes);

private:
    const IProvider& provider_;
    MemoryReserve reserve_;
    std::atomic<std::int64_t> granted_{0}; ///< bytes that may be taken before asking again
};

} // namespace storage::host
