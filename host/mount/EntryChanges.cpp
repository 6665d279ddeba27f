#include "host/mount/EntryChanges.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/FolderMove.h"
#include "host/mount/KernelTime.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"

#include <cerrno>
#include <exception>
#include <utility>

namespace storage::host {

using foundation::storage::provider::ReplacementPolicy;

namespace {

constexpr std::uint64_t roomOfEntry =
    1024; ///< bytes that an empty entry takes here and in a provider, roughly

/// What is removed has no place in the storage.
void requirePresent(const LockedTree& tree, const Inode& inode) {
    if (tree.isRemoved(inode)) {
        throw ErrnoError(ENOENT);
    }
}

void requireFree(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    if (tree.find(folder, name) != nullptr) {
        throw ErrnoError(EEXIST);
    }
}

TreeEntry& requireChild(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    TreeEntry* const entry = tree.find(folder, name);
    if (entry == nullptr) {
        throw ErrnoError(ENOENT);
    }
    return *entry;
}

void requireFolder(const Inode& inode) {
    if (!inode.isFolder()) {
        throw ErrnoError(ENOTDIR);
    }
}

void requireNoFolder(const Inode& inode) {
    if (inode.isFolder()) {
        throw ErrnoError(EISDIR);
    }
}

/// As far as the tree knows: the provider has no entries of some kinds, but may have some that are not known.
void requireEmpty(const LockedTree& tree, const FolderInode& folder) {
    if (tree.hasKnownChildren(folder)) {
        throw ErrnoError(ENOTEMPTY);
    }
}

void refuseImpossibleRename(const LockedTree& tree, const Inode& source, const FolderInode& folder,
                            const TreeEntry* target) {
    if (source.isFolder() && tree.isWithin(folder, static_cast<const FolderInode&>(source))) {
        throw ErrnoError(EINVAL);
    }
    if (target == nullptr) {
        return;
    }
    if (source.isFolder()) {
        requireFolder(target->inode());
        requireEmpty(tree, static_cast<const FolderInode&>(target->inode()));
    } else {
        requireNoFolder(target->inode());
    }
}

} // namespace

Inode& EntryChanges::make(ExclusiveTree& tree, FolderInode& folder, std::u16string name, NewEntry entry) {
    requirePresent(tree, folder);
    requireFree(tree, folder, name);
    space_.require(roomOfEntry + entry.target.size());
    const timespec time = kernelTime();
    const EntryAttributes attributes{entry.permissions & permissionBits, entry.target.size(), time, time,
                                     time};
    const Owner owner = entry.owner;
    Inode& inode = tree.add(folder, std::move(entry), std::move(name));
    try {
        createIn(tree, folder, inode, attributes, owner);
    } catch (...) {
        tree.discard(inode);
        throw;
    }
    return inode;
}

void EntryChanges::createIn(ExclusiveTree& tree, FolderInode& folder, Inode& inode,
                            const EntryAttributes& attributes, Owner creator) {
    tree.loadAttributes(folder);
    const Owner owner = ownership_.ofNewIn(folder, creator);
    ownership_.prepare(inode, owner);
    ownership_.set(inode, owner);
    inode.attributes = attributes;
    inode.attributes.permissions = permissionsOfNewIn(folder, inode.kind, attributes.permissions);
    inode.attributesKnown = true;
    if (inode.isStorable()) {
        createInStorage(tree, folder, inode);
    }
    tree.stamp(folder, attributes.modified);
}

void EntryChanges::createInStorage(ExclusiveTree& tree, const FolderInode& folder, Inode& inode) {
    const LiftedFlag writable(provider_, tree, folder);
    const StorageIRI location = tree.locationOf(inode);
    if (inode.isFolder()) {
        provider_.doCreateFolder(location);
        tree.setEmpty(static_cast<FolderInode&>(inode));
    } else {
        provider_.doCreateFile(location);
    }
    try {
        provider_.doSetLastModified(location, fromDiskTime(inode.attributes.modified));
        if (!inode.attributes.isWritable()) {
            provider_.doSetWritable(location, false);
        }
    } catch (...) {
        removeFromStorage(tree, inode);
        throw;
    }
}

void EntryChanges::link(ExclusiveTree& tree, Inode& inode, FolderInode& folder, std::u16string name) {
    if (inode.isFolder()) {
        throw ErrnoError(EPERM);
    }
    requirePresent(tree, inode);
    requirePresent(tree, folder);
    requireFree(tree, folder, name);
    space_.require(roomOfEntry);
    tree.loadAttributes(inode);
    tree.loadAttributes(folder);
    tree.addAlias(folder, inode, std::move(name));
    const timespec time = kernelTime();
    stampChange(inode, time);
    tree.stamp(folder, time);
}

void EntryChanges::removeFile(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    TreeEntry& entry = requireChild(tree, folder, name);
    requireNoFolder(entry.inode());
    remove(tree, entry);
}

void EntryChanges::removeFolder(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    TreeEntry& entry = requireChild(tree, folder, name);
    requireFolder(entry.inode());
    requireEmpty(tree, static_cast<const FolderInode&>(entry.inode()));
    remove(tree, entry);
}

void EntryChanges::remove(ExclusiveTree& tree, TreeEntry& entry) {
    FolderInode& folder = *tree.parentOf(entry);
    Inode& inode = entry.inode();
    const timespec time = kernelTime();
    tree.loadAttributes(folder);
    tree.loadAttributes(inode);
    if (const Alias* const alias = aliasInPlaceOf(tree, entry)) {
        tree.removeAlias(*alias);
        stampChange(inode, time);
    } else {
        removing(tree, inode, time, [&] { removeFromStorage(tree, inode); });
    }
    tree.stamp(folder, time);
}

/// The alias that an entry is. If it is the own name of an inode that has aliases, the inode changes places with one of
/// them first, which programs do not notice. Null for an inode without aliases. The attributes of the inode must be known.
const Alias* EntryChanges::aliasInPlaceOf(ExclusiveTree& tree, TreeEntry& entry) {
    if (entry.isAlias()) {
        return &static_cast<const Alias&>(entry);
    }
    Alias* const alias = tree.aliasOf(entry.inode());
    if (alias != nullptr) {
        FolderInode& folder = *tree.parentOf(entry);
        FolderInode& newFolder = *tree.parentOf(*alias);
        tree.loadAttributes(folder);
        tree.loadAttributes(newFolder);
        move(tree, entry, newFolder, tree.nameOf(*alias));
        tree.exchange(entry, *alias);
        keepTimeOf(tree, folder);
        keepTimeOf(tree, newFolder);
    }
    return alias;
}

/// Does nothing for an entry that is in the mount only.
void EntryChanges::removeFromStorage(const ExclusiveTree& tree, const Inode& inode) {
    if (inode.isFolder()) {
        provider_.doRemoveFolder(tree.locationOf(inode));
    } else if (inode.isFile()) {
        provider_.doRemoveFile(tree.locationOf(inode));
    }
}

void EntryChanges::rename(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                          FolderInode& newFolder, std::u16string newName, Replacement replacement) {
    requirePresent(tree, newFolder);
    TreeEntry& source = requireChild(tree, folder, name);
    Inode& inode = source.inode();
    TreeEntry* const target = tree.find(newFolder, newName);
    if (target != nullptr && replacement == Replacement::Refused) {
        throw ErrnoError(EEXIST);
    }
    if (target != nullptr && &target->inode() == &inode) {
        return;
    }
    refuseImpossibleRename(tree, inode, newFolder, target);
    tree.loadAttributes(inode);
    tree.loadAttributes(folder);
    tree.loadAttributes(newFolder);
    const std::uint64_t position = tree.prepareRename(source, newFolder, target);
    if (target != nullptr) {
        replace(tree, source, *target);
    } else {
        move(tree, source, newFolder, newName);
    }
    tree.rename(source, newFolder, std::move(newName), position);
    const timespec time = kernelTime();
    tree.stamp(folder, time);
    tree.stamp(newFolder, time);
    stampChange(inode, time);
}

/// Takes the target out of the storage and of the tree, and moves the source to its place in the storage.
void EntryChanges::replace(ExclusiveTree& tree, TreeEntry& source, TreeEntry& target) {
    Inode& inode = target.inode();
    FolderInode& folder = *tree.parentOf(target);
    const timespec time = kernelTime();
    tree.loadAttributes(inode);
    if (const Alias* const alias = aliasInPlaceOf(tree, target)) {
        move(tree, source, folder, tree.nameOf(*alias));
        tree.removeAlias(*alias);
        stampChange(inode, time);
    } else if (tree.isStoredAs(source)) {
        removing(tree, inode, time, [&] { move(tree, source, folder, tree.nameOf(target)); });
    } else {
        removing(tree, inode, time, [&] { removeFromStorage(tree, inode); });
    }
}

/// Runs the step that removes an entry from the storage, and removes it from the tree. If the step throws and the entry
/// is gone all the same, as after a move that failed midway, it is removed from the tree too. The attributes of the entry and of
/// its folder must be known.
template <typename Step>
void EntryChanges::removing(ExclusiveTree& tree, Inode& inode, const timespec& time, const Step& step) {
    const FolderInode& folder = *tree.parentOf(inode);
    auto place = tree.prepareRemoval(inode);
    KeptContent content(contents_, tree, inode); // before the flag below: it may lift and restore it itself
    const LiftedFlag folderWritable(provider_, tree, folder);
    LiftedFlag writable(provider_, tree, inode);
    std::exception_ptr failure;
    try {
        step();
    } catch (...) {
        failure = std::current_exception();
        if (!inode.isStorable() || provider_.doExists(tree.locationOf(inode))) {
            throw;
        }
    }
    content.keep();
    writable.release();
    stampChange(inode, time);
    tree.remove(inode, std::move(place));
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Moves an entry in the storage, where it replaces another; does nothing if it is not there under this name.
/// Both folders keep their flags, the entry keeps its time. The attributes of all three must be known.
void EntryChanges::move(const ExclusiveTree& tree, TreeEntry& source, FolderInode& folder,
                        const std::u16string& name) {
    if (!tree.isStoredAs(source)) {
        return;
    }
    Inode& inode = source.inode();
    const FolderInode& oldFolder = *tree.parentOf(source);
    const StorageIRI destination = tree.locationOf(folder, name);
    const LiftedFlag oldWritable(provider_, tree, oldFolder);
    const LiftedFlag newWritable(provider_, tree, folder);
    if (inode.isFolder()) {
        guards_.closeStreams(); // providers differ in what a stream does when a folder above it moves
        FolderMove(provider_, tree.locationOf(inode), destination).run();
    } else {
        moveFile(tree, static_cast<FileInode&>(inode), destination);
    }
}

void EntryChanges::moveFile(const ExclusiveTree& tree, FileInode& file, const StorageIRI& destination) {
    {
        auto held = guards_.hold(file);
        held.closeStreamOf(file);
        file.isBeingCopied = false;
    }
    provider_.doMoveFile(tree.locationOf(file), destination, ReplacementPolicy::ReplaceExisting);
    try {
        provider_.doSetLastModified(destination, fromDiskTime(file.attributes.modified));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The file has moved, so the rename must not fail any more.
    }
}

/// The provider stamps folders by moves that programs do not know of.
void EntryChanges::keepTimeOf(const LockedTree& tree, const FolderInode& folder) noexcept {
    try {
        provider_.doSetLastModified(tree.locationOf(folder), fromDiskTime(folder.attributes.modified));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Programs see the time that is kept here.
    }
}

void EntryChanges::stampChange(Inode& inode, const timespec& time) noexcept {
    const auto held = guards_.hold(inode);
    inode.attributes.changed = time;
}

} // namespace storage::host
