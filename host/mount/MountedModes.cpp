#include "host/mount/MountedModes.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/EntryName.h"

#include <string_view>

namespace storage::host {

namespace {

/// The entry of the mount at a path of the storage; null if there is none that programs can name.
Inode* find(MountedStorage& storage, std::u16string_view path) {
    Inode* inode = &storage.root();
    while (inode != nullptr && path.size() > 1) {
        path.remove_prefix(1);
        const std::u16string_view name = path.substr(0, path.find(u'/'));
        path.remove_prefix(name.size());
        const auto programName = programNameOf(name);
        if (!programName || !inode->isFolder()) {
            return nullptr;
        }
        inode = storage.lookUp(static_cast<FolderInode&>(*inode), *programName).inode;
        if (inode != nullptr) {
            storage.release(*inode, 1); // entries that are not removed stay all the same
        }
    }
    return inode;
}

} // namespace

void adoptModes(MountedStorage& storage, const EntryModes& modes) {
    for (const auto& [path, mode] : modes.recorded()) {
        if (Inode* const inode = find(storage, path)) {
            AttributeChange change;
            change.permissions = mode;
            change.changed = storage.status(*inode).st_ctim;
            storage.change(*inode, change);
        }
    }
}

std::optional<mode_t> modeOf(MountedStorage& storage, const StoragePath& path) {
    Inode* const inode = find(storage, path.text());
    return inode == nullptr ? std::nullopt : std::optional(storage.status(*inode).st_mode & permissionBits);
}

} // namespace storage::host
