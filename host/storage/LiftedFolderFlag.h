#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

/// Makes a read-only folder of the storage writable for the lifetime of the object. Does nothing for a
/// writable one.
///
/// Borrows the provider. Not thread-safe.
class LiftedFolderFlag {
public:
    /// @param path  an existing folder
    LiftedFolderFlag(const provider::IProvider& provider, const StoragePath& path);
    ~LiftedFolderFlag();
    LiftedFolderFlag(const LiftedFolderFlag&) = delete;
    LiftedFolderFlag& operator=(const LiftedFolderFlag&) = delete;

private:
    const provider::IProvider& provider_;
    const StoragePath path_;
    const bool isLifted_;
};

} // namespace storage::host
