#pragma once

#include "host/mount/ChildTable.h"
#include "host/mount/InodeGuards.h"
#include "host/mount/Mutex.h"
#include "hostapi/storage/provider/IProvider.h"

#include <map>
#include <memory>

namespace storage::host {

/// A folder of a mounted storage. Owns its known children, which are guarded like its place.
struct FolderInode final : Inode {
    FolderInode(CompactName entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::Folder, std::move(entryName), entryNumber) {}

private:
    friend class InodeTree;
    friend class LockedTree;
    friend class ExclusiveTree;

    ChildTable children_;
};

/// The entries of a mounted storage that have been asked for: their names, places and attributes. The mount is the
/// storage's only user, so the tree is a cache that never gets stale, and a lookup or a listing asks the provider only
/// once.
///
/// Owns all inodes; those of removed entries until the kernel drops its last reference. Borrows the provider and the
/// guards. The lock guards names and places. Nothing but the root can be reached without it: operations are members of
/// `LockedTree` and `ExclusiveTree`, which hold it. Attributes have the inodes' guards.
///
/// The lock order is in docs/architecture.md, "The mount".
class InodeTree {
public:
    using IProvider = foundation::storage::provider::IProvider;

    InodeTree(const IProvider& provider, InodeGuards& guards);

    /// Not recursive, so that deep trees need no stack.
    ~InodeTree();

    InodeTree(const InodeTree&) = delete;
    InodeTree& operator=(const InodeTree&) = delete;

    FolderInode& root() noexcept { return root_; }

private:
    friend class LockedTree;
    friend class SharedTree;
    friend class ExclusiveTree;

    using Removed = std::map<const Inode*, std::unique_ptr<TreeEntry>>;

    const IProvider& provider_;
    InodeGuards& guards_;
    SharedMutex mutex_;
    std::uint64_t nextNumber_ QZFL_GUARDED_BY(mutex_) = 1;
    FolderInode root_;
    ChildTable nameless_ QZFL_GUARDED_BY(mutex_); ///< entries that have no name for programs yet
    Removed removed_ QZFL_GUARDED_BY(mutex_);     ///< entries that the kernel still refers to
};

} // namespace storage::host
