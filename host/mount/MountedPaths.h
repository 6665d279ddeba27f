#pragma once

#include "host/mount/MountedStorage.h"
#include "host/storage/StoragePath.h"

#include <vector>

namespace storage::host {

/// Finds the entries of a mounted storage by their paths. Remembers the folders of the last path, so that entries of one folder
/// cost one lookup each.
///
/// No folder may be renamed or removed while the object lives. Borrows the storage. Thread safety: one object is for one thread.
class MountedPaths {
public:
    explicit MountedPaths(MountedStorage& storage) : storage_(storage) {}

    /// @return null if there is no such entry that programs can name
    Inode* find(const StoragePath& path);

    /// @throws ErrnoError ENOENT
    Inode& at(const StoragePath& path);

    /// @throws ErrnoError ENOENT when there is no such folder
    FolderInode& folderAt(const StoragePath& path);

private:
    struct Folder {
        StoragePath path;
        FolderInode* inode = nullptr;
    };

    FolderInode* findFolder(const StoragePath& path);
    Inode* lookUp(FolderInode& folder, const StoragePath& path);

    MountedStorage& storage_;
    std::vector<Folder> folders_; ///< from the root on, each in the one before; empty at first
};

/// The name by which programs know the entry at a path.
/// @throws ErrnoError EILSEQ when they cannot name it
std::string programNameOf(const StoragePath& path);

} // namespace storage::host
