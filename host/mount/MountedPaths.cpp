#include "host/mount/MountedPaths.h"

#include "host/mount/EntryName.h"
#include "host/mount/ErrnoError.h"

#include <cerrno>

namespace storage::host {

std::string programNameOf(const StoragePath& path) {
    if (auto name = programNameOf(path.name())) {
        return *std::move(name);
    }
    throw ErrnoError(EILSEQ);
}

Inode* MountedPaths::find(const StoragePath& path) {
    if (path.isRoot()) {
        return &storage_.root();
    }
    FolderInode* const folder = findFolder(path.parent());
    return folder == nullptr ? nullptr : lookUp(*folder, path);
}

Inode& MountedPaths::at(const StoragePath& path) {
    if (Inode* const inode = find(path)) {
        return *inode;
    }
    throw ErrnoError(ENOENT);
}

FolderInode& MountedPaths::folderAt(const StoragePath& path) {
    if (FolderInode* const folder = findFolder(path)) {
        return *folder;
    }
    throw ErrnoError(ENOENT);
}

FolderInode* MountedPaths::findFolder(const StoragePath& path) {
    if (folders_.empty()) {
        folders_.push_back({StoragePath(), &storage_.root()});
    }
    while (!folders_.back().path.contains(path)) {
        folders_.pop_back();
    }
    std::vector<StoragePath> below;
    for (StoragePath next = path; next != folders_.back().path; next = next.parent()) {
        below.push_back(next);
    }
    for (; !below.empty(); below.pop_back()) {
        Inode* const inode = lookUp(*folders_.back().inode, below.back());
        if (inode == nullptr || !inode->isFolder()) {
            return nullptr;
        }
        folders_.push_back({below.back(), static_cast<FolderInode*>(inode)});
    }
    return folders_.back().inode;
}

Inode* MountedPaths::lookUp(FolderInode& folder, const StoragePath& path) {
    const auto name = programNameOf(path.name());
    Inode* const inode = name ? storage_.lookUp(folder, *name).inode : nullptr;
    if (inode != nullptr) {
        storage_.release(*inode, 1); // the inode stays valid while its entry exists
    }
    return inode;
}

} // namespace storage::host
