#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"

namespace storage::host {

/// A new file of the storage beside the one that it is to replace, which stays as it is until the new one is complete.
///
/// Owns the file until it is moved; the destructor removes what is still owned. Failures name the target. Borrows the
/// provider. Thread safety: one object is for one thread.
class TemporaryStorageFile {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param target  an existing file
    TemporaryStorageFile(const IProvider& provider, const StoragePath& target);
    ~TemporaryStorageFile();
    TemporaryStorageFile(const TemporaryStorageFile&) = delete;
    TemporaryStorageFile& operator=(const TemporaryStorageFile&) = delete;

    const StoragePath& path() const noexcept { return path_; }

    /// Replaces the target, a read-only one too. Streams on this file must be closed.
    void moveIntoPlace();

private:
    const IProvider& provider_;
    const StoragePath target_;
    const StoragePath path_;
    bool isOwned_ = true;
};

} // namespace storage::host
