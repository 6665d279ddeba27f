#pragma once

#include "host/mount/MountedPaths.h"
#include "host/mount/MountedStorage.h"
#include "host/transfer/ExportSource.h"

namespace storage::host {

/// Exports a mounted storage as programs saw it.
///
/// Borrows the storage. Precondition: the storage does not change meanwhile. Not thread-safe.
class MountExportSource final : public ExportSource {
public:
    explicit MountExportSource(MountedStorage& storage) : storage_(storage), paths_(storage) {}

    Authority authority() const noexcept override { return Authority::Source; }
    EntryKind kindOf(const StoragePath& path) override;
    Part childrenFrom(const StoragePath& folder, std::uint64_t position) override;
    Entry entryAt(const StoragePath& path, EntryKind kind) override;
    std::uint64_t sizeOf(const StoragePath& file) override;
    std::unique_ptr<Reader> open(const StoragePath& file) override;

private:
    MountedStorage& storage_;
    MountedPaths paths_;
};

} // namespace storage::host
