#pragma once

#include "host/mount/MountedStorage.h"
#include "host/storage/StoragePath.h"

#include <vector>

namespace storage::host {

/// Finds the entries of a mounted storage by path. Caches the folders of the last path, so that entries of
/// one folder cost one lookup each.
///
/// Borrows the storage. Precondition: no folder is renamed or removed during the lifetime. Not thread-safe.
class MountedPaths {
public:
    explicit MountedPaths(MountedStorage& storage) : storage_(storage) {}

    /// @return null if there is no such entry with a name for programs
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
    std::vector<Folder> folders_; ///< from the root on, each a child of the one before; empty at first
};

/// The last name of a path, converted for programs.
/// @throws ErrnoError EILSEQ when programs cannot name the entry
std::string programNameOf(const StoragePath& path);

} // namespace storage::host
