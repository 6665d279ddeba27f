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

/// A removed folder has no place in the storage.
void requirePresent(const LockedTree& tree, const FolderInode& folder) {
    if (tree.isRemoved(folder)) {
        throw ErrnoError(ENOENT);
    }
}

Inode& requireChild(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    Inode* const inode = tree.find(folder, name);
    if (inode == nullptr) {
        throw ErrnoError(ENOENT);
    }
    return *inode;
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
                            const Inode* target) {
    if (source.isFolder() && tree.isWithin(folder, static_cast<const FolderInode&>(source))) {
        throw ErrnoError(EINVAL);
    }
    if (target == nullptr) {
        return;
    }
    if (source.isFolder()) {
        requireFolder(*target);
        requireEmpty(tree, static_cast<const FolderInode&>(*target));
    } else {
        requireNoFolder(*target);
    }
}

} // namespace

Inode& EntryChanges::make(ExclusiveTree& tree, FolderInode& folder, std::u16string name, NewEntry entry) {
    requirePresent(tree, folder);
    if (tree.find(folder, name) != nullptr) {
        throw ErrnoError(EEXIST);
    }
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

void EntryChanges::removeFile(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    Inode& inode = requireChild(tree, folder, name);
    requireNoFolder(inode);
    remove(tree, inode);
}

void EntryChanges::removeFolder(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name) {
    Inode& inode = requireChild(tree, folder, name);
    requireFolder(inode);
    requireEmpty(tree, static_cast<FolderInode&>(inode));
    remove(tree, inode);
}

void EntryChanges::remove(ExclusiveTree& tree, Inode& inode) {
    FolderInode& folder = *tree.parentOf(inode);
    removing(tree, inode, [&] { removeFromStorage(tree, inode); });
    tree.stamp(folder, kernelTime());
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
    Inode& source = requireChild(tree, folder, name);
    Inode* const target = tree.find(newFolder, newName);
    if (target != nullptr && replacement == Replacement::Refused) {
        throw ErrnoError(EEXIST);
    }
    if (target == &source) {
        return;
    }
    refuseImpossibleRename(tree, source, newFolder, target);
    const std::uint64_t position = tree.prepareRename(source, newFolder, target);
    tree.loadAttributes(source);
    tree.loadAttributes(folder);
    tree.loadAttributes(newFolder);
    const auto moveSource = [&] { move(tree, source, newFolder, newName); };
    if (target == nullptr) {
        moveSource();
    } else if (source.isStorable()) {
        removing(tree, *target, moveSource);
    } else {
        removing(tree, *target, [&] { removeFromStorage(tree, *target); });
    }
    tree.rename(source, newFolder, std::move(newName), position);
    const timespec time = kernelTime();
    tree.stamp(folder, time);
    tree.stamp(newFolder, time);
    const auto held = guards_.hold(source);
    source.attributes.changed = time;
}

/// Runs the step that removes an entry from the storage, and removes it from the tree. If the step throws and the entry
/// is gone all the same, as after a move that failed midway, it is removed from the tree too.
template <typename Step>
void EntryChanges::removing(ExclusiveTree& tree, Inode& inode, const Step& step) {
    FolderInode& folder = *tree.parentOf(inode);
    tree.loadAttributes(folder);
    tree.loadAttributes(inode);
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
    tree.remove(inode, std::move(place));
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Moves an entry in the storage, where it replaces another; does nothing if it is in the mount only. Both folders keep
/// their flags, the entry keeps its time. The attributes of all three must be known.
void EntryChanges::move(const ExclusiveTree& tree, Inode& source, FolderInode& folder,
                        const std::u16string& name) {
    if (!source.isStorable()) {
        return;
    }
    const FolderInode& oldFolder = *tree.parentOf(source);
    const StorageIRI destination = tree.locationOf(folder, name);
    const LiftedFlag oldWritable(provider_, tree, oldFolder);
    const LiftedFlag newWritable(provider_, tree, folder);
    if (source.isFolder()) {
        guards_.closeStreams(); // providers differ in what a stream does when a folder above it moves
        FolderMove(provider_, tree.locationOf(source), destination).run();
    } else {
        moveFile(tree, static_cast<FileInode&>(source), destination);
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

} // namespace storage::host
