#pragma once

#include "host/mount/MountOptions.h"
#include "host/mount/MountedPaths.h"
#include "host/mount/MountedStorage.h"
#include "host/transfer/ImportTarget.h"

#include <memory>
#include <string>

namespace storage::host {

/// Imports into a storage that is about to be mounted. Keeps all attributes that a disk has.
///
/// Borrows the storage. Not thread-safe.
class MountImportTarget final : public ImportTarget {
public:
    MountImportTarget(MountedStorage& storage, MountOptions::Xattrs xattrs)
        : storage_(storage), paths_(storage), xattrs_(xattrs) {}

    void requirePlace(const StoragePath& path) override;
    void enterFolder(const StoragePath& path, const DiskAttributes* attributes) override;
    void leaveFolder(const StoragePath& path, const DiskAttributes* attributes) override;
    void leaveAll() noexcept override {}
    std::unique_ptr<File> makeFile(const StoragePath& path) override;
    std::uint64_t newLinkGroup() override { return 0; }
    bool link(const StoragePath& existing, const StoragePath& path) override;
    void addName(const StoragePath& existing, const StoragePath& path) override;
    void makeSpecial(const StoragePath& path, const DiskAttributes& attributes) override;

private:
    class NewFile;

    FolderInode& clearPlace(const StoragePath& path);
    bool isTaken(FolderInode& folder, const std::string& name);
    void apply(Inode& inode, const DiskAttributes& attributes);

    MountedStorage& storage_;
    MountedPaths paths_;
    const MountOptions::Xattrs xattrs_;
};

} // namespace storage::host
