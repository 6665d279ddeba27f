#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

/// A temporary file of the storage, in the folder of its target. The target stays unchanged until
/// `moveIntoPlace`.
///
/// Owns the file until it is moved. The destructor removes it if it was not. Failures name the target.
/// Borrows the provider. Not thread-safe.
class TemporaryStorageFile {
public:
    using IProvider = provider::IProvider;

    /// @param target  an existing file
    TemporaryStorageFile(const IProvider& provider, const StoragePath& target);
    ~TemporaryStorageFile();
    TemporaryStorageFile(const TemporaryStorageFile&) = delete;
    TemporaryStorageFile& operator=(const TemporaryStorageFile&) = delete;

    const StoragePath& path() const noexcept { return path_; }

    /// Replaces the target, even if that is read-only. Streams on this file must be closed.
    void moveIntoPlace();

private:
    const IProvider& provider_;
    const StoragePath target_;
    const StoragePath path_;
    bool isOwned_ = true;
};

} // namespace storage::host
