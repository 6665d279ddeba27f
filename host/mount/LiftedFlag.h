#pragma once

#include "host/mount/LockedTree.h"

#include <optional>

namespace storage::host {

/// Makes a read-only entry writable in the storage as long as the object lives.
///
/// Providers refuse changes of read-only entries. The kernel has already decided by the full permissions: it also
/// allows access through a file that was opened earlier, access by root, and the removal of a read-only file from a
/// writable folder. Borrows the provider; the tree's lock must be held as long as the object lives.
/// Not thread-safe.
class LiftedFlag {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    /// @param inode  with known attributes; nothing is done if it is writable or not in the storage
    LiftedFlag(const IProvider& provider, const LockedTree& tree, const Inode& inode);
    ~LiftedFlag();
    LiftedFlag(const LiftedFlag&) = delete;
    LiftedFlag& operator=(const LiftedFlag&) = delete;

    /// Leaves the entry as it is: it has been removed or moved.
    void release() noexcept { location_.reset(); }

private:
    const IProvider& provider_;
    std::optional<StorageIRI> location_; ///< nothing if there is nothing to restore
};

} // namespace storage::host
