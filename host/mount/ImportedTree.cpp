#include "host/mount/ImportedTree.h"

#include "host/disk/DiskFolder.h"
#include "host/disk/DiskPath.h"
#include "host/mount/MountedPaths.h"
#include "host/storage/StoragePath.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <boost/range/adaptor/reversed.hpp>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <iterator>
#include <optional>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr int pathFlags = O_PATH | O_DIRECTORY;

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::optional<EntryKind> storedAt(MountedStorage& storage, MountedPaths& paths, const std::string& path) {
    Inode* const inode = paths.find(StoragePath::resolve(StoragePath(), toUtf16('/' + path)));
    return inode == nullptr ? std::nullopt : std::optional(entryKindOf(storage.status(*inode).st_mode));
}

} // namespace

ImportedTree::ImportedTree(const std::string& folder) : root_(folder, pathFlags) {
    std::vector<std::string> folders{""};
    while (!folders.empty()) {
        const std::string above = std::move(folders.back());
        folders.pop_back();
        for (const std::string& name : listDiskFolder(
                 diskPath(above), above.empty() ? DiskEntry::Links::Follow : DiskEntry::Links::Inspect)) {
            const std::string path = above.empty() ? name : diskChild(above, name);
            struct stat status {};
            if (::lstat(diskPath(path).c_str(), &status) != 0) {
                continue;
            }
            const EntryKind kind = entryKindOf(status.st_mode);
            entries_.emplace(path, Entry{kind, status.st_dev, status.st_ino, status.st_size, status.st_mtim});
            if (kind == EntryKind::Folder) {
                folders.push_back(path);
            }
        }
    }
}

void ImportedTree::forgetSkipped(MountedStorage& storage) {
    MountedPaths paths(storage);
    std::erase_if(entries_, [&](const auto& entry) {
        return storedAt(storage, paths, entry.first) != entry.second.kind;
    });
}

void ImportedTree::setAside(MountedStorage& storage, Console& console) {
    MountedPaths paths(storage);
    for (const auto& known : entries_) {
        const std::string& path = known.first;
        const Entry& entry = known.second;
        const auto stored = storedAt(storage, paths, path);
        if (stored && *stored != entry.kind && isSame(path, entry) && isImportedThroughout(path)) {
            console.attempt(diskPath(path), [&] { moveAside(path); });
        }
    }
}

void ImportedTree::moveAside(const std::string& path) {
    const std::string folder = path.substr(0, path.size() - nameOf(path).size());
    const std::string moved = fmt::format("{}.qzstorage-{}-{}.replaced", folder, ::getpid(), nextAside_++);
    const FileDescriptor above = folderOf(path);
    if (::renameat2(above.number(), nameOf(path).c_str(), above.number(), nameOf(moved).c_str(),
                    RENAME_NOREPLACE) != 0) {
        throw diskError(diskPath(path), errno);
    }
    aside_.push_back({path, moved});
}

void ImportedTree::putBack() noexcept {
    std::erase_if(aside_, [&](const Aside& aside) {
        try {
            const FileDescriptor above = folderOf(aside.original);
            return ::renameat2(above.number(), nameOf(aside.moved).c_str(), above.number(),
                               nameOf(aside.original).c_str(), RENAME_NOREPLACE) == 0;
        } catch (...) {
            return false; // the entry keeps its temporary name
        }
    });
}

/// Iterates in reverse, so that folders come after their content.
void ImportedTree::removeMissing(MountedStorage& storage, Console& console) {
    MountedPaths paths(storage);
    for (const Aside& aside : aside_) {
        const std::string below = aside.original + '/';
        for (const auto& imported : boost::adaptors::reverse(entries_)) {
            const std::string& path = imported.first;
            if (path == aside.original || path.starts_with(below)) {
                const std::string moved = aside.moved + path.substr(aside.original.size());
                console.attempt(diskPath(moved), [&] { removeIfSame(moved, imported.second); });
            }
        }
    }
    aside_.clear();
    for (const auto& imported : boost::adaptors::reverse(entries_)) {
        if (!storedAt(storage, paths, imported.first)) {
            console.attempt(diskPath(imported.first), [&] { removeIfSame(imported.first, imported.second); });
        }
    }
}

/// Opens the folder of an entry, from the root without following links.
FileDescriptor ImportedTree::folderOf(const std::string& path) const {
    std::optional<FileDescriptor> folder;
    for (std::size_t begin = 0, end = 0; (end = path.find('/', begin)) != std::string::npos;
         begin = end + 1) {
        folder.emplace(FileDescriptor(folder ? *folder : root_, path.substr(begin, end - begin), pathFlags));
    }
    return folder ? std::move(*folder) : root_.duplicate();
}

/// Whether the entry on disk is still the imported one. Returns false for a missing entry.
bool ImportedTree::isSame(const std::string& path, const Entry& entry) const {
    try {
        struct stat status {};
        if (::fstatat(folderOf(path).number(), nameOf(path).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
        const bool isUnchanged = entry.kind == EntryKind::Folder ||
                                 (status.st_size == entry.size && isSameTime(status.st_mtim, entry.modified));
        return status.st_dev == entry.device && status.st_ino == entry.inode &&
               entryKindOf(status.st_mode) == entry.kind && isUnchanged;
    } catch (const CommandError&) {
        return false; // a parent folder is missing or a symbolic link
    }
}

/// Whether a folder contains only imported entries.
bool ImportedTree::isImportedThroughout(const std::string& path) const {
    if (entries_.at(path).kind != EntryKind::Folder) {
        return true;
    }
    return std::ranges::all_of(
        listDiskFolder(diskPath(path), DiskEntry::Links::Inspect), [&](const std::string& name) {
            const std::string below = diskChild(path, name);
            const auto known = entries_.find(below);
            return known != entries_.end() && isSame(below, known->second) && isImportedThroughout(below);
        });
}

void ImportedTree::removeIfSame(const std::string& path, const Entry& entry) const {
    if (!isSame(path, entry)) {
        return;
    }
    const int flags = entry.kind == EntryKind::Folder ? AT_REMOVEDIR : 0;
    const bool isRemoved = ::unlinkat(folderOf(path).number(), nameOf(path).c_str(), flags) == 0;
    if (!isRemoved && errno != ENOENT && errno != ENOTEMPTY && errno != EEXIST) {
        throw diskError(diskPath(path), errno);
    }
}

} // namespace storage::host
