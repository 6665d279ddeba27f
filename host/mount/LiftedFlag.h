#pragma once

#include "host/mount/Inode.h"
#include "hostapi/storage/provider/IProvider.h"

#include <optional>

namespace storage::host {

/// Makes a read-only entry writable in the storage for as long as the object lives.
///
/// A storage refuses what its flags forbid; here the kernel has already decided, by permissions that know more than
/// that flag: a file that was opened before, a superuser, or a read-only file that its folder lets go.
/// Borrows the provider. Thread safety: the caller keeps others away from the entry's permissions.
class LiftedFlag {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    /// @param iri    where `inode` stands in the storage
    /// @param inode  with known attributes; one that is writable is left alone
    LiftedFlag(const IProvider& provider, const StorageIRI& iri, const Inode& inode);
    ~LiftedFlag();
    LiftedFlag(const LiftedFlag&) = delete;
    LiftedFlag& operator=(const LiftedFlag&) = delete;

    /// Leaves the entry writable: it is gone, or stands elsewhere.
    void release() noexcept { iri_.reset(); }

private:
    const IProvider& provider_;
    std::optional<StorageIRI> iri_; ///< none when there is nothing to restore
};

} // namespace storage::host
