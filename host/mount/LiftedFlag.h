#pragma once

#include "host/mount/LockedTree.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>

namespace storage::host {

/// Makes a read-only entry writable in the storage during its lifetime.
///
/// Providers refuse changes of read-only entries. The kernel has already checked the full permissions. It
/// also allows access through a file that was opened earlier, access by root, and the removal of a read-only
/// file from a writable folder. Borrows the provider. Precondition: the tree's lock is held during the
/// lifetime. Not thread-safe.
class LiftedFlag {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    /// @param inode  with known attributes; ignored if it is writable or not in the storage
    LiftedFlag(const IProvider& provider, const LockedTree& tree, const Inode& inode);
    ~LiftedFlag();
    LiftedFlag(const LiftedFlag&) = delete;
    LiftedFlag& operator=(const LiftedFlag&) = delete;

    /// Does not restore the flag, because the entry has been removed or moved.
    void release() noexcept { location_.reset(); }

private:
    const IProvider& provider_;
    std::optional<StorageIRI> location_; ///< nothing if the flag was not changed
};

} // namespace storage::host
