#pragma once

#include "host/mount/FileContents.h"
#include "host/mount/LockedTree.h"
#include "host/mount/Ownership.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>
#include <sys/types.h>

namespace storage::host {

/// How a program renames an entry. A value.
struct RenameMode {
    unsigned flags = 0; ///< RENAME_NOREPLACE, RENAME_WHITEOUT, or both; or RENAME_EXCHANGE
    Owner caller = {};  ///< becomes the owner of a whiteout
};

/// Creates, removes and renames entries, in the storage and in the tree. A function that throws has changed
/// nothing. Exception: if the provider fails but has removed an entry, the tree removes it too.
///
/// Borrows provider, guards, space, contents and ownership. Thread-safe. The caller holds the tree's lock
/// exclusively, so each function is atomic.
class EntryChanges {
public:
    using IProvider = provider::IProvider;

    EntryChanges(const IProvider& provider, InodeGuards& guards, StorageSpace& space, FileContents& contents,
                 const Ownership& ownership)
        : provider_(provider), guards_(guards), space_(space), contents_(contents), ownership_(ownership) {}

    /// Creates an entry that belongs to `entry.owner`. In a folder with the set-group-ID bit, it gets the
    /// folder's group.
    /// @throws ErrnoError EEXIST, ENOSPC, ENOENT for a removed folder
    Inode& make(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name, NewEntry entry);

    /// Creates a file that has no name until `link` adds one.
    /// @param folder  determines the group; may be removed
    /// @throws ErrnoError ENOSPC
    Inode& makeNameless(ExclusiveTree& tree, FolderInode& folder, NewEntry entry);

    /// Removes a nameless entry. If that fails, it stays in the storage under a name that no program can use.
    /// @return the inode, for the caller to destroy, if the kernel does not refer to it
    ExclusiveTree::RemovedPlace removeNameless(ExclusiveTree& tree, Inode& inode) noexcept;

    /// Removes all nameless entries from the storage. Programs that have them open can still use them, but
    /// can no longer link them.
    void removeNameless(ExclusiveTree& tree) noexcept;

    /// Adds a name to an inode; the first one to a nameless inode.
    /// @throws ErrnoError EPERM for a folder, EEXIST, ENOSPC, ENOENT for a removed inode or folder
    void link(ExclusiveTree& tree, Inode& inode, FolderInode& folder, const std::u16string& name);

    /// Removes an entry that is not a folder.
    /// @throws ErrnoError ENOENT, EISDIR
    void removeFile(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name);

    /// @throws ErrnoError ENOENT, ENOTDIR, ENOTEMPTY
    void removeFolder(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name);

    /// Replaces an entry that has the new name. Does nothing if both names belong to one inode.
    /// @param mode  without RENAME_EXCHANGE
    /// @throws ErrnoError ENOENT, EEXIST, EINVAL, EISDIR, ENOTDIR, ENOTEMPTY
    void rename(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name, FolderInode& newFolder,
                const std::u16string& newName, const RenameMode& mode);

    /// Exchanges two entries of any kinds. Does nothing if both names belong to one inode.
    /// @throws ErrnoError ENOENT, EINVAL when one entry is below the other
    void exchange(ExclusiveTree& tree, FolderInode& folder, const std::u16string& name,
                  FolderInode& newFolder, const std::u16string& newName);

private:
    using StorageIRI = provider::StorageIRI;

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
