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

/// What is exported belongs to this program's user: nobody else's program may run with that user's rights.
mode_t permissionsForOwner(const struct stat& status) {
    const Owner exporter = Owner::ofProcess();
    mode_t taken = 0;
    if (status.st_uid != exporter.user) {
        taken |= S_ISUID;
    }
    if (status.st_gid != exporter.group) {
        taken |= S_ISGID;
    }
    return status.st_mode & permissionBits & ~taken;
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
    return inode == nullptr ? std::nullopt : std::optional(permissionsForOwner(storage.status(*inode)));
}

} // namespace storage::host
