#include "host/mount/EntryChanges.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/FolderMove.h"
#include "host/mount/KernelTime.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <optional>
#include <utility>

namespace storage::host {

using provider::ReplacementPolicy;

namespace {

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

/// Checks only the known children, because entries of some kinds exist only in the mount. The provider checks
/// the others.
void requireEmpty(const LockedTree& tree, const FolderInode& folder) {
    if (tree.hasKnownChildren(folder)) {
        throw ErrnoError(ENOTEMPTY);
    }
}

void requireOutside(const LockedTree& tree, const FolderInode& folder, const Inode& entry) {
    if (entry.isFolder() && tree.isWithin(folder, static_cast<const FolderInode&>(entry))) {
        throw ErrnoError(EINVAL);
    }
}

void refuseImpossibleRename(const LockedTree& tree, const Inode& source, const FolderInode& folder,
                            const TreeEntry* target) {
    requireOutside(tree, folder, source);
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

EntryAttributes attributesOf(const NewEntry& entry) {
    const timespec time = kernelTime();
    return {entry.permissions & permissionBits, entry.target.size(), time, time, time, time};
}

/// Adds a nameless entry to the tree. The destructor discards it if it is still nameless.
class Placeholder {
public:
    explicit Placeholder(ExclusiveTree& tree)
        : tree_(tree), inode_(tree.addNameless({Inode::Kind::CharacterDevice})) {}
    ~Placeholder() {
        if (tree_.isNameless(inode_)) {
            tree_.discard(inode_);
        }
    }
    Placeholder(const Placeholder&) = delete;
    Placeholder& operator=(const Placeholder&) = delete;

    Inode& inode() noexcept { return inode_; }

private:
    ExclusiveTree& tree_;
    Inode& inode_;
};

/// The whiteout that RENAME_WHITEOUT leaves at the old name: a character device with the number 0, which
/// hides an entry of a lower layer in overlayfs. Allocated before the rename, so that nothing can fail after
/// it.
class Whiteout {
public:
    Whiteout(ExclusiveTree& tree, FolderInode& folder, CompactName name, const Ownership& ownership,
             Owner creator)
        : tree_(tree),
          folder_(folder),
          name_(std::move(name)),
          entry_(tree),
          position_(tree.prepareRename(entry_.inode(), folder, nullptr)) {
        const Owner owner = ownership.ofNewIn(folder, creator);
        ownership.prepare(entry_.inode(), owner);
        ownership.set(entry_.inode(), owner);
        entry_.inode().attributesKnown = true;
    }

    void put(const timespec& time) noexcept {
        entry_.inode().attributes = {0, 0, time, time, time, time};
        tree_.rename(entry_.inode(), folder_, std::move(name_), position_);
    }

private:
    ExclusiveTree& tree_;
    FolderInode& folder_;
    CompactName name_;
    Placeholder entry_;
    const std::uint64_t position_;
};

} // namespace

Inode& EntryChanges::make(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                          NewEntry entry) {
    requirePresent(tree, folder);
    requireFree(tree, folder, name);
    space_.quota().requireEntry();
    space_.require(bytesOfEntry + entry.target.size());
    const EntryAttributes attributes = attributesOf(entry);
    const Owner owner = entry.owner;
    Inode& inode = tree.add(folder, std::move(entry), name);
    try {
        createIn(tree, folder, inode, attributes, owner);
    } catch (...) {
        tree.discard(inode);
        throw;
    }
    space_.quota().noteNewEntry();
    return inode;
}

void EntryChanges::createIn(ExclusiveTree& tree, FolderInode& folder, Inode& inode,
                            const EntryAttributes& attributes, Owner creator) {
    initialize(tree, folder, inode, attributes, creator);
    if (inode.isStorable()) {
        createInStorage(tree, folder, inode);
    }
    tree.stamp(folder, attributes.modified);
}

/// Sets the attributes of a new entry. Also loads those of the folder.
void EntryChanges::initialize(const ExclusiveTree& tree, FolderInode& folder, Inode& inode,
                              const EntryAttributes& attributes, Owner creator) {
    tree.loadAttributes(folder);
    const Owner owner = ownership_.ofNewIn(folder, creator);
    ownership_.prepare(inode, owner);
    ownership_.set(inode, owner);
    inode.attributes = attributes;
    inode.attributes.permissions = permissionsOfNewIn(folder, inode.kind, attributes.permissions);
    inode.attributesKnown = true;
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

/// In the storage the file is in the root, because no program can remove or rename the root.
Inode& EntryChanges::makeNameless(ExclusiveTree& tree, FolderInode& folder, NewEntry entry) {
    space_.quota().requireEntry();
    space_.require(bytesOfEntry);
    const EntryAttributes attributes = attributesOf(entry);
    const Owner creator = entry.owner;
    Inode& inode = tree.addNameless(std::move(entry));
    FolderInode& root = *tree.parentOf(inode);
    try {
        tree.loadAttributes(root);
        initialize(tree, folder, inode, attributes, creator);
        createInStorage(tree, root, inode);
    } catch (...) {
        tree.discard(inode);
        throw;
    }
    keepTimeOf(tree, root);
    space_.quota().noteNewEntry();
    return inode;
}

ExclusiveTree::RemovedPlace EntryChanges::removeNameless(ExclusiveTree& tree, Inode& inode) noexcept {
    try {
        FolderInode& root = *tree.parentOf(inode);
        tree.loadAttributes(root);
        auto removed = removing(tree, inode, kernelTime(), [&] { removeFromStorage(tree, inode); });
        keepTimeOf(tree, root);
        return removed;
    } catch (...) {
        return {};
    }
}

void EntryChanges::removeNameless(ExclusiveTree& tree) noexcept {
    for (Inode* inode = tree.anyNameless(); inode != nullptr; inode = tree.anyNameless()) {
        removeNameless(tree, *inode);
        if (tree.anyNameless() == inode) {
            return; // it could not be removed
        }
    }
}

void EntryChanges::link(ExclusiveTree& tree, Inode& inode, FolderInode& folder, const std::u16string& name) {
    if (inode.isFolder()) {
        throw ErrnoError(EPERM);
    }
    requirePresent(tree, inode);
    requirePresent(tree, folder);
    requireFree(tree, folder, name);
    space_.require(bytesOfEntry);
    tree.loadAttributes(inode);
    tree.loadAttributes(folder);
    if (tree.isNameless(inode)) {
        FolderInode& root = *tree.parentOf(inode);
        tree.loadAttributes(root);
        moveTo(tree, inode, folder, name, nullptr);
        keepTimeOf(tree, root);
    } else {
        tree.addAlias(folder, inode, name);
    }
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

/// Returns the entry if it is an alias. If it is an inode with aliases, exchanges it with one of them first,
/// so that the name becomes an alias. Programs do not see a difference. Returns null for an inode without
/// aliases. Precondition: the attributes of the inode are known.
const Alias* EntryChanges::aliasInPlaceOf(ExclusiveTree& tree, TreeEntry& entry) {
    if (entry.isAlias()) {
        return &static_cast<const Alias&>(entry);
    }
    Alias* const alias = tree.aliasOf(entry.inode());
    if (alias != nullptr) {
        changePlaces(tree, entry, *alias);
    }
    return alias;
}

/// Does nothing for an entry that exists only in the mount.
void EntryChanges::removeFromStorage(const ExclusiveTree& tree, const Inode& inode) {
    if (inode.isFolder()) {
        provider_.doRemoveFolder(tree.locationOf(inode));
    } else if (inode.isFile()) {
        provider_.doRemoveFile(tree.locationOf(inode));
    }
}

void EntryChanges::rename(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                          FolderInode& newFolder, const std::u16string& newName, const RenameMode& mode) {
    requirePresent(tree, newFolder);
    TreeEntry& source = requireChild(tree, folder, name);
    Inode& inode = source.inode();
    TreeEntry* const target = tree.find(newFolder, newName);
    if (target != nullptr && (mode.flags & RENAME_NOREPLACE) != 0) {
        throw ErrnoError(EEXIST);
    }
    if (target != nullptr && &target->inode() == &inode) {
        return;
    }
    refuseImpossibleRename(tree, inode, newFolder, target);
    tree.loadAttributes(inode);
    tree.loadAttributes(folder);
    tree.loadAttributes(newFolder);
    std::optional<Whiteout> whiteout;
    if ((mode.flags & RENAME_WHITEOUT) != 0) {
        space_.quota().requireEntry();
        space_.require(bytesOfEntry);
        whiteout.emplace(tree, folder, name, ownership_, mode.caller);
    }
    moveTo(tree, source, newFolder, newName, target);
    const timespec time = kernelTime();
    if (whiteout) {
        whiteout->put(time);
        space_.quota().noteNewEntry();
    }
    tree.stamp(folder, time);
    tree.stamp(newFolder, time);
    stampChange(inode, time);
}

/// Moves an entry in the storage and in the tree.
/// @param target  the entry of that name, which is replaced; null if there is none
void EntryChanges::moveTo(ExclusiveTree& tree, TreeEntry& source, FolderInode& folder,
                          const std::u16string& name, TreeEntry* target) {
    CompactName newName(name);
    const std::uint64_t position = tree.prepareRename(source, folder, target);
    if (target != nullptr) {
        replace(tree, source, *target);
    } else {
        move(tree, source, folder, name);
    }
    tree.rename(source, folder, std::move(newName), position);
}

void EntryChanges::exchange(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                            FolderInode& newFolder, const std::u16string& newName) {
    TreeEntry& left = requireChild(tree, folder, name);
    TreeEntry& right = requireChild(tree, newFolder, newName);
    Inode& leftInode = left.inode();
    Inode& rightInode = right.inode();
    if (&leftInode == &rightInode) {
        return;
    }
    requireOutside(tree, newFolder, leftInode);
    requireOutside(tree, folder, rightInode);
    tree.loadAttributes(leftInode);
    tree.loadAttributes(rightInode);
    exchangeStored(tree, left, right);
    const timespec time = kernelTime();
    tree.stamp(folder, time);
    tree.stamp(newFolder, time);
    stampChange(leftInode, time);
    stampChange(rightInode, time);
}

/// If the storage has both entries, exchanges them through a third name.
void EntryChanges::exchangeStored(ExclusiveTree& tree, TreeEntry& left, TreeEntry& right) {
    if (!tree.isStoredAs(right)) {
        changePlaces(tree, left, right);
        return;
    }
    if (!tree.isStoredAs(left)) {
        changePlaces(tree, right, left);
        return;
    }
    Placeholder third(tree);
    changePlaces(tree, left, third.inode());
    try {
        changePlaces(tree, right, third.inode());
        try {
            changePlaces(tree, left, third.inode());
        } catch (...) {
            changePlaces(tree, right, third.inode());
            throw;
        }
    } catch (...) {
        changePlaces(tree, left, third.inode());
        throw;
    }
}

/// Exchanges two entries. The folders keep their times. Preconditions: `other` is not in the storage, and the
/// attributes of `entry` are known.
void EntryChanges::changePlaces(ExclusiveTree& tree, TreeEntry& entry, TreeEntry& other) {
    FolderInode& folder = *tree.parentOf(entry);
    FolderInode& newFolder = *tree.parentOf(other);
    tree.loadAttributes(folder);
    tree.loadAttributes(newFolder);
    move(tree, entry, newFolder, tree.nameOf(other));
    tree.exchange(entry, other);
    keepTimeOf(tree, folder);
    keepTimeOf(tree, newFolder);
}

/// Removes the target from the storage and from the tree, and moves the source to its place in the storage.
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

/// Runs a step that removes an entry from the storage, then removes the entry from the tree. If the step
/// throws but has removed the entry, as when a move fails midway, the entry is removed from the tree too.
/// Precondition: the attributes of the entry and of its folder are known.
/// @return the inode, for the caller to destroy, if the kernel does not refer to it
template <typename Step>
ExclusiveTree::RemovedPlace EntryChanges::removing(ExclusiveTree& tree, Inode& inode, const timespec& time,
                                                   const Step& step) {
    const FolderInode& folder = *tree.parentOf(inode);
    auto place = tree.prepareRemoval(inode);
    KeptContent content(contents_, tree, inode); // before `writable`, because it may lift the same flag
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
    place = tree.remove(inode, std::move(place));
    if (place) { // otherwise the inode is destroyed when the kernel drops its last reference
        space_.quota().noteDestroyed(inode);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return place;
}

/// Moves an entry in the storage and replaces the entry at the target. Does nothing if the storage does not
/// have the entry under this name. Both folders keep their flags, the entry keeps its time. Precondition: the
/// attributes of all three are known.
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
        // The file has been moved, so the rename must succeed.
    }
}

/// Restores the time of a folder that the provider has stamped for a move that programs do not see.
void EntryChanges::keepTimeOf(const LockedTree& tree, const FolderInode& folder) noexcept {
    try {
        provider_.doSetLastModified(tree.locationOf(folder), fromDiskTime(folder.attributes.modified));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Programs see the time in the inode.
    }
}

void EntryChanges::stampChange(Inode& inode, const timespec& time) noexcept {
    const auto held = guards_.hold(inode);
    inode.attributes.changed = time;
}

} // namespace storage::host
