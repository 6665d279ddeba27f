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

void requireKind(const Inode& inode, Inode::Kind kind) {
    if (inode.kind != kind) {
        throw ErrnoError(inode.isFolder() ? EISDIR : ENOTDIR);
    }
}

void refuseImpossibleRename(const LockedTree& tree, const Inode& source, const FolderInode& folder,
                            const Inode* target) {
    if (source.isFolder() && tree.isWithin(folder, static_cast<const FolderInode&>(source))) {
        throw ErrnoError(EINVAL);
    }
    if (target != nullptr) {
        requireKind(*target, source.kind);
    }
}

} // namespace

Inode& EntryChanges::make(ExclusiveTree& tree, FolderInode& folder, Inode::Kind kind, std::u16string name,
                          mode_t permissions, Owner creator) {
    requirePresent(tree, folder);
    if (tree.find(folder, name) != nullptr) {
        throw ErrnoError(EEXIST);
    }
    space_.require(roomOfEntry);
    Inode& inode = tree.add(folder, kind, std::move(name));
    try {
        createIn(tree, folder, inode, permissions, creator);
    } catch (...) {
        tree.discard(inode);
        throw;
    }
    return inode;
}

void EntryChanges::createIn(ExclusiveTree& tree, FolderInode& folder, Inode& inode, mode_t permissions,
                            Owner creator) {
    tree.loadAttributes(folder);
    const Owner owner = ownership_.ofNewIn(folder, creator);
    ownership_.prepare(inode, owner);
    ownership_.set(inode, owner);
    const LiftedFlag writable(provider_, tree, folder);
    const StorageIRI location = tree.locationOf(inode);
    if (inode.isFolder()) {
        provider_.doCreateFolder(location);
        tree.setEmpty(static_cast<FolderInode&>(inode));
    } else {
        provider_.doCreateFile(location);
    }
    const timespec time = kernelTime();
    inode.attributes = {permissionsOfNewIn(folder, inode.kind, permissions & permissionBits), 0, time, time,
                        time};
    inode.attributesKnown = true;
    try {
        provider_.doSetLastModified(location, fromDiskTime(time));
        if (!inode.attributes.isWritable()) {
            provider_.doSetWritable(location, false);
        }
    } catch (...) {
        inode.isFolder() ? provider_.doRemoveFolder(location) : provider_.doRemoveFile(location);
        throw;
    }
    tree.stamp(folder, time);
}

void EntryChanges::remove(ExclusiveTree& tree, FolderInode& folder, Inode::Kind kind,
                          const std::u16string& name) {
    Inode& inode = requireChild(tree, folder, name);
    requireKind(inode, kind);
    removing(tree, inode, [&] {
        const StorageIRI location = tree.locationOf(inode);
        inode.isFolder() ? provider_.doRemoveFolder(location) : provider_.doRemoveFile(location);
    });
    tree.stamp(folder, kernelTime());
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
    if (target != nullptr) {
        removing(tree, *target, [&] { move(tree, source, newFolder, newName); });
    } else {
        move(tree, source, newFolder, newName);
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
        if (provider_.doExists(tree.locationOf(inode))) {
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

/// Moves an entry in the storage. Both folders keep their flags, the entry keeps its time.
void EntryChanges::move(const ExclusiveTree& tree, Inode& source, FolderInode& folder,
                        const std::u16string& name) {
    FolderInode& oldFolder = *tree.parentOf(source);
    tree.loadAttributes(source);
    tree.loadAttributes(oldFolder);
    tree.loadAttributes(folder);
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
