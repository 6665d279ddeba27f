#pragma once

#include "host/mount/FileContents.h"
#include "host/mount/LockedTree.h"
#include "host/mount/Ownership.h"

#include <string>
#include <sys/types.h>

namespace storage::host {

/// Makes, removes and renames entries, in the storage and in the tree. A function that throws has changed nothing, except
/// that an entry which the provider has removed nevertheless is removed from the tree too.
///
/// Borrows provider, guards, space, contents and ownership. Thread-safe; the tree's lock makes each function one step for all others.
class EntryChanges {
public:
    using IProvider = foundation::storage::provider::IProvider;

    EntryChanges(const IProvider& provider, InodeGuards& guards, StorageSpace& space, FileContents& contents,
                 const Ownership& ownership)
        : provider_(provider), guards_(guards), space_(space), contents_(contents), ownership_(ownership) {}

    /// The entry belongs to `entry.owner`, except for the group in a folder with the set-group-ID bit.
    /// @throws ErrnoError EEXIST, ENOSPC, ENOENT for a removed folder
    Inode& make(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name, NewEntry entry);

    /// Makes a file that has no name until `link` gives it one.
    /// @param folder  decides on the group; may be removed
    /// @throws ErrnoError ENOSPC
    Inode& makeNameless(ExclusiveTree& tree, FolderInode& folder, NewEntry entry);

    /// Removes a nameless entry. If that fails it stays, where no program can use it.
    /// @return the inode if nothing refers to it
    ExclusiveTree::RemovedPlace removeNameless(ExclusiveTree& tree, Inode& inode) noexcept;

    /// Removes all nameless entries from the storage. Programs that have them open can still use them, but not link them.
    void removeNameless(ExclusiveTree& tree) noexcept;

    /// Gives an inode a further name, or a nameless one its first.
    /// @throws ErrnoError EPERM for a folder, EEXIST, ENOSPC, ENOENT for a removed inode or folder
    void link(ExclusiveTree& tree, Inode& inode, FolderInode& folder, const std::u16string& name);

    /// Removes an entry that is no folder.
    /// @throws ErrnoError ENOENT, EISDIR
    void removeFile(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name);

    /// @throws ErrnoError ENOENT, ENOTDIR, ENOTEMPTY
    void removeFolder(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name);

    /// Replaces an entry that has the new name. Does nothing if both names are of one inode.
    /// @param flags  RENAME_NOREPLACE; RENAME_WHITEOUT leaves a whiteout at the old place
    /// @throws ErrnoError ENOENT, EEXIST, EINVAL, EISDIR, ENOTDIR, ENOTEMPTY
    void rename(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name, FolderInode& newFolder,
                const std::u16string& newName, unsigned flags);

    /// Lets two entries of any kinds change places. Does nothing if both names are of one inode.
    /// @throws ErrnoError ENOENT, EINVAL if one is a folder that holds the other
    void exchange(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                  FolderInode& newFolder, const std::u16string& newName);

private:
    using StorageIRI = foundation::storage::provider::StorageIRI;

    void createIn(ExclusiveTree& tree, FolderInode& folder, Inode& inode, const EntryAttributes& attributes,
                  Owner creator);
    void initialize(const ExclusiveTree& tree, FolderInode& folder, Inode& inode,
                    const EntryAttributes& attributes, Owner creator);
    void createInStorage(ExclusiveTree& tree, const FolderInode& folder, Inode& inode);
    void remove(ExclusiveTree& tree, TreeEntry& entry);
    void moveTo(ExclusiveTree& tree, TreeEntry& source, FolderInode& folder, const std::u16string& name,
                TreeEntry* target);
    void replace(ExclusiveTree& tree, TreeEntry& source, TreeEntry& target);
    void exchangeStored(ExclusiveTree& tree, TreeEntry& left, TreeEntry& right);
    void changePlaces(ExclusiveTree& tree, TreeEntry& entry, TreeEntry& other);
    const Alias* aliasInPlaceOf(ExclusiveTree& tree, TreeEntry& entry);
    void keepTimeOf(const LockedTree& tree, const FolderInode& folder) noexcept;
    void stampChange(Inode& inode, const timespec& time) noexcept;
    void removeFromStorage(const ExclusiveTree& tree, const Inode& inode);
    void move(const ExclusiveTree& tree, TreeEntry& source, FolderInode& folder, const std::u16string& name);
    void moveFile(const ExclusiveTree& tree, FileInode& file, const StorageIRI& destination);
    template <typename Step>
    ExclusiveTree::RemovedPlace removing(ExclusiveTree& tree, Inode& inode, const timespec& time,
                                         const Step& step);

    const IProvider& provider_;
    InodeGuards& guards_;
    StorageSpace& space_;
    FileContents& contents_;
    const Ownership& ownership_;
};

} // namespace storage::host
