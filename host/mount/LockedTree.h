#pragma once

#include "host/mount/Alias.h"
#include "host/mount/InodeTree.h"
#include "host/mount/NewEntry.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

// NOLINTBEGIN(readability-convert-member-functions-to-static): see LockedTree

/// An inode tree with its lock held, shared or exclusive, so that no other thread adds, removes or moves
/// names. A function that requires the lock takes a `LockedTree`; one that requires it exclusively takes an
/// `ExclusiveTree`.
///
/// Operations are members even if they do not use the object, because the object proves that the lock is
/// held. Borrows the tree. Not thread-safe: an object belongs to one thread.
class LockedTree {
public:
    using StorageIRI = provider::StorageIRI;

    LockedTree(const LockedTree&) = delete;
    LockedTree& operator=(const LockedTree&) = delete;

    bool isRemoved(const Inode& inode) const noexcept {
        return inode.place_.parent == nullptr && !inode.place_.name.empty();
    }

    /// Whether programs have no name for the entry yet. In the tree, and possibly in the storage, it is in
    /// the root, under a name that programs can neither use nor see.
    bool isNameless(const TreeEntry& entry) const noexcept;

    /// Whether the provider has the entry.
    bool isStored(const Inode& inode) const noexcept { return inode.isStorable() && !isRemoved(inode); }

    /// Whether the provider has the entry under this name.
    bool isStoredAs(const TreeEntry& entry) const noexcept {
        return !entry.isAlias() && isStored(entry.inode());
    }

    /// The link count: the number of names; for a folder 2 plus its number of subfolders, or 1 if that is not
    /// known.
    /// @param held  the inode's guard
    std::size_t linksOf(const Inode& inode, const InodeGuards::Held& held) const noexcept;

    /// A further name of the inode, or null.
    Alias* aliasOf(const Inode& inode) const noexcept;

    std::u16string nameOf(const TreeEntry& entry) const { return entry.place_.name.text(); }
    std::uint64_t positionOf(const TreeEntry& entry) const noexcept { return entry.place_.position; }

    /// Null for the root and for removed entries.
    FolderInode* parentOf(const TreeEntry& entry) const noexcept { return entry.place_.parent; }

    /// The path of an entry in the storage. Precondition: the entry is not removed.
    StorageIRI locationOf(const Inode& inode) const;
    StorageIRI locationOf(const FolderInode& folder, std::u16string_view name) const;

    /// The path relative to the mount point, as programs use it.
    std::string programPathOf(const Inode& inode) const;

    /// Whether the inode is the folder or anywhere below it.
    bool isWithin(const Inode& inode, const FolderInode& folder) const noexcept;

    /// The child of that name, or null if there is none; nothing if that is unknown.
    std::optional<TreeEntry*> findKnown(const FolderInode& folder, std::u16string_view name) const noexcept;

    /// Whether all children of the folder are known. Once true, it stays true.
    bool isComplete(const FolderInode& folder) const noexcept {
        return folder.children_.isComplete() || isRemoved(folder);
    }

    /// A folder without known children may still have children in the storage.
    bool hasKnownChildren(const FolderInode& folder) const noexcept { return !folder.children_.empty(); }

    /// The next child of a listing after `position`, or null at its end.
    TreeEntry* childAfter(const FolderInode& folder, std::uint64_t position) const noexcept {
        return folder.children_.after(position);
    }

    /// Calls `visit` with every known name except the root.
    template <typename Visit>
    void forEachKnown(const Visit& visit) const;

    /// Calls `visit` once with every known file that is not removed.
    template <typename Visit>
    void forEachKnownFile(const Visit& visit) const;

    /// Loads an entry's attributes from the provider unless they are known.
    /// @param held  the inode's guard
    void loadAttributes(Inode& inode, const InodeGuards::Held& held) const;

    /// As `loadAttributes`, acquires the guard itself.
    void loadAttributes(Inode& inode) const;

    /// Drops `count` references of the kernel.
    /// @return whether the entry is removed or nameless and no reference is left
    bool dropReferences(Inode& inode, std::uint64_t count) const noexcept {
        return inode.references.fetch_sub(count) == count && (isRemoved(inode) || isNameless(inode));
    }

private:
    std::u16string pathOf(const Inode& inode, std::u16string_view below) const;

protected:
    explicit LockedTree(InodeTree& tree) noexcept : tree_(tree) {}
    ~LockedTree() = default;

    InodeTree& tree_;
};

/// Holds the tree's lock, shared, during its lifetime.
class QZFL_SCOPED_CAPABILITY SharedTree final : public LockedTree {
public:
    explicit SharedTree(InodeTree& tree) QZFL_ACQUIRE_SHARED(tree.mutex_) : LockedTree(tree) {
        tree.mutex_.lockShared();
    }
    ~SharedTree() QZFL_RELEASE() { tree_.mutex_.unlockShared(); }
    SharedTree(const SharedTree&) = delete;
    SharedTree& operator=(const SharedTree&) = delete;
};

/// Holds the tree's lock exclusively during its lifetime. Only its members add, remove and move names.
class QZFL_SCOPED_CAPABILITY ExclusiveTree final : public LockedTree {
public:
    explicit ExclusiveTree(InodeTree& tree) QZFL_ACQUIRE(tree.mutex_) : LockedTree(tree) {
        tree.mutex_.lock();
    }
    ~ExclusiveTree() QZFL_RELEASE() { tree_.mutex_.unlock(); }
    ExclusiveTree(const ExclusiveTree&) = delete;
    ExclusiveTree& operator=(const ExclusiveTree&) = delete;

    /// The child of that name, or null. Looks it up in the provider if that is necessary.
    TreeEntry* find(FolderInode& folder, std::u16string_view name);

    /// Loads all children of a folder from the provider.
    void complete(FolderInode& folder);

    /// Notes that a folder that has just been created has no children.
    void setEmpty(FolderInode& folder) noexcept { folder.children_.setComplete(); }

    /// Adds an entry without attributes.
    /// @throws std::bad_alloc with nothing changed
    Inode& add(FolderInode& folder, NewEntry entry, CompactName name);

    /// Adds a nameless entry without attributes.
    /// @throws std::bad_alloc with nothing changed
    Inode& addNameless(NewEntry entry);

    /// A nameless entry, or null if there is none.
    Inode* anyNameless() const noexcept;

    /// Adds a further name of an inode that is not removed.
    /// @throws std::bad_alloc with nothing changed
    Alias& addAlias(FolderInode& folder, Inode& inode, CompactName name);

    void removeAlias(const Alias& alias) noexcept;

    void exchange(TreeEntry& left, TreeEntry& right) noexcept;

    /// Undoes an addition.
    void discard(Inode& inode) noexcept;

    using RemovedPlace = InodeTree::Removed::node_type;

    /// Allocates what a removal requires, so that it cannot fail after the entry was removed from the
    /// storage.
    RemovedPlace prepareRemoval(const Inode& inode);

    /// Removes an inode without aliases from its folder.
    /// @return the inode, for the caller to destroy, if the kernel does not refer to it
    RemovedPlace remove(Inode& inode, RemovedPlace place) noexcept;

    /// Takes a removed entry without references out of the tree.
    /// @return the inode, for the caller to destroy after it has released the lock, because freeing a large
    ///     file takes long
    RemovedPlace takeRemoved(const Inode& inode) noexcept;

    /// Allocates what a rename requires.
    /// @param target  the entry that is replaced; null if there is none
    /// @return the position of the entry in its new folder
    std::uint64_t prepareRename(const TreeEntry& source, FolderInode& folder, const TreeEntry* target);

    /// Moves an entry to a name that is free in `folder`.
    /// @param position  as returned by `prepareRename`
    void rename(TreeEntry& source, FolderInode& folder, CompactName name, std::uint64_t position) noexcept;

    /// Sets the times of a folder after a change of its entries. Precondition: its attributes are known.
    void stamp(FolderInode& folder, const timespec& time) noexcept;

private:
    ChildTable& tableOf(const TreeEntry& entry) const noexcept;
    TreeEntry* lookUpStored(FolderInode& folder, std::u16string_view name);
    std::unique_ptr<Inode> make(NewEntry entry, CompactName name);
};

// NOLINTEND(readability-convert-member-functions-to-static)

template <typename Visit>
void LockedTree::forEachKnown(const Visit& visit) const {
    std::vector<const FolderInode*> folders{&tree_.root()};
    while (!folders.empty()) {
        const FolderInode& folder = *folders.back();
        folders.pop_back();
        folder.children_.forEach([&](TreeEntry& child) {
            if (child.inode().isFolder()) {
                folders.push_back(&static_cast<FolderInode&>(child.inode()));
            }
            visit(child);
        });
    }
}

template <typename Visit>
void LockedTree::forEachKnownFile(const Visit& visit) const {
    forEachKnown([&](TreeEntry& child) {
        if (child.inode().isFile() && !child.isAlias()) {
            visit(static_cast<FileInode&>(child.inode()));
        }
    });
}

} // namespace storage::host
