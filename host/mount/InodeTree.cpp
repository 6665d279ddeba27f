#include "host/mount/InodeTree.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/EntryName.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>
#include <mutex>

namespace storage::host {

using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::FileAttributes;
using foundation::storage::provider::FolderAttributes;
using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::requireNonNull;
using foundation::storage::provider::StorageIRI;

namespace {

/// What a storage does not keep of permissions is what most entries of a disk have.
constexpr mode_t filePermissions = 0644;
constexpr mode_t folderPermissions = 0755;

constexpr mode_t permissionsOf(mode_t usual, bool writable) {
    return writable ? usual : usual & ~writeBits;
}

timespec programTime(const boost::posix_time::ptime& time) {
    return time.is_special() ? timespec{} : toDiskTime(time);
}

std::u16string pathOf(const Inode& inode, std::u16string_view below) {
    std::size_t length = below.empty() ? 0 : below.size() + 1;
    for (const Inode* each = &inode; each->parent != nullptr; each = each->parent) {
        length += each->name.size() + 1;
    }
    std::u16string path(std::max<std::size_t>(length, 1), u'/');
    std::size_t end = length;
    const auto prepend = [&](std::u16string_view name) {
        end -= name.size();
        name.copy(path.data() + end, name.size());
        --end; // the separator is there
    };
    if (!below.empty()) {
        prepend(below);
    }
    for (const Inode* each = &inode; each->parent != nullptr; each = each->parent) {
        prepend(each->name);
    }
    return path;
}

} // namespace

InodeTree::InodeTree(const IProvider& provider, InodeGuards& guards)
    : provider_(provider), guards_(guards), root_(std::u16string(), nextNumber_++) {}

InodeTree::~InodeTree() {
    for (FolderInode* folder = &root_; folder != nullptr;) {
        Inode* const child = folder->children.after(0);
        if (child == nullptr) { // then the folder goes with the next turn
            folder = folder->parent;
        } else if (child->isFolder() && !static_cast<FolderInode*>(child)->children.empty()) {
            folder = static_cast<FolderInode*>(child);
        } else {
            folder->children.remove(*child);
        }
    }
}

StorageIRI InodeTree::locationOf(const Inode& inode) {
    return StorageIRI(pathOf(inode, {}));
}

StorageIRI InodeTree::locationOf(const FolderInode& folder, std::u16string_view name) {
    return StorageIRI(pathOf(folder, name));
}

bool InodeTree::isSettled(const FolderInode& folder, std::u16string_view name) noexcept {
    return folder.childrenComplete || folder.isRemoved() || folder.children.find(name) != nullptr;
}

Inode* InodeTree::find(FolderInode& folder, std::u16string_view name) {
    return isSettled(folder, name) ? folder.children.find(name) : ask(folder, name);
}

Inode* InodeTree::ask(FolderInode& folder, std::u16string_view name) {
    switch (provider_.doExistsExtended(locationOf(folder, name))) {
    case EntryExistence::File:
        return &add(folder, Inode::Kind::File, std::u16string(name));
    case EntryExistence::Folder:
        return &add(folder, Inode::Kind::Folder, std::u16string(name));
    default:
        return nullptr;
    }
}

void InodeTree::complete(FolderInode& folder) {
    if (folder.childrenComplete || folder.isRemoved()) {
        return;
    }
    const auto listing = requireNonNull(provider_.doListAll(locationOf(folder)), "listing");
    while (listing->hasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        if (programNameOf(entry.getName()) && folder.children.find(entry.getName()) == nullptr) {
            add(folder,
                entry.getType() == FolderEntry::EntryType::Folder ? Inode::Kind::Folder : Inode::Kind::File,
                entry.getName());
        }
    }
    folder.childrenComplete = true;
}

void InodeTree::loadAttributes(Inode& inode) {
    if (inode.attributesKnown) {
        return;
    }
    if (inode.isFolder()) {
        loadFolder(static_cast<FolderInode&>(inode));
    } else {
        loadFile(static_cast<FileInode&>(inode));
    }
    inode.attributesKnown = true;
}

void InodeTree::requireAttributes(Inode& inode) {
    const auto held = guards_.hold(inode);
    loadAttributes(inode);
}

void InodeTree::loadFile(FileInode& file) const {
    const FileAttributes stored = provider_.doGetFileAttributes(locationOf(file));
    const timespec modified = programTime(stored.getLastModified());
    file.attributes = {permissionsOf(filePermissions, stored.isWritable()), stored.getSize(), modified,
                       modified, modified};
    file.storedSize = stored.getSize();
}

void InodeTree::loadFolder(FolderInode& folder) const {
    const FolderAttributes stored = provider_.doGetFolderAttributes(locationOf(folder));
    const timespec modified = programTime(stored.getLastModified());
    folder.attributes = {permissionsOf(folderPermissions, stored.isWritable()), 0, modified, modified,
                         modified};
}

/// The storage has stamped the folder too, but by another clock.
void InodeTree::stamp(FolderInode& folder, const timespec& time) noexcept {
    const auto held = guards_.hold(folder);
    folder.attributes.modified = time;
    folder.attributes.changed = time;
    try {
        provider_.doSetLastModified(locationOf(folder), fromDiskTime(time));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The change has been made; programs see the time that is kept here.
    }
}

std::unique_ptr<Inode> InodeTree::make(Inode::Kind kind, std::u16string name) {
    if (kind == Inode::Kind::Folder) {
        return std::make_unique<FolderInode>(std::move(name), nextNumber_++);
    }
    return std::make_unique<FileInode>(std::move(name), nextNumber_++);
}

Inode& InodeTree::add(FolderInode& folder, Inode::Kind kind, std::u16string name) {
    Inode& added = folder.children.add(make(kind, std::move(name)));
    added.parent = &folder;
    return added;
}

void InodeTree::discard(Inode& inode) noexcept {
    inode.parent->children.remove(inode);
}

InodeTree::RemovedPlace InodeTree::prepareRemoval(const Inode& inode) {
    Removed place;
    place.emplace(&inode, nullptr);
    return place.extract(place.begin());
}

void InodeTree::remove(Inode& inode, RemovedPlace place) noexcept {
    place.mapped() = inode.parent->children.remove(inode);
    inode.parent = nullptr;
    if (inode.references != 0) {
        removed_.insert(std::move(place));
    }
}

void InodeTree::release(Inode& inode, std::uint64_t count) {
    {
        const std::shared_lock lock(lock_);
        if (inode.references.fetch_sub(count) != count || !inode.isRemoved()) {
            return;
        }
    }
    RemovedPlace last; // goes after the lock: its bytes may be many
    const std::unique_lock lock(lock_);
    last = removed_.extract(&inode);
}

} // namespace storage::host
