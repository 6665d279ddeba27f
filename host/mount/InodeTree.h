#pragma once

#include "host/mount/ChildTable.h"
#include "host/mount/InodeGuards.h"
#include "host/mount/Mutex.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

namespace storage::host {

/// A folder of a mounted storage. Owns its known children, which are guarded by the tree's lock.
struct FolderInode final : Inode {
    FolderInode(CompactName entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::Folder, std::move(entryName), entryNumber) {}

private:
    friend class InodeTree;
    friend class LockedTree;
    friend class ExclusiveTree;

    ChildTable children_;
};

/// The known entries of a mounted storage: names, places and attributes of all entries that programs have
/// used so far. The mount is the storage's only user, so the tree is a cache that never gets stale: each
/// lookup and each listing calls the provider at most once.
///
/// Owns all inodes. The inode of a removed entry exists until the kernel drops its last reference. Borrows
/// the provider and the guards.
///
/// The lock guards names and places. Only the root is accessible without it: all operations are members of
/// `LockedTree` and `ExclusiveTree`, which hold the lock. Attributes are guarded by the inodes' guards. The
/// lock order is in docs/architecture.md, "Locks of the mount".
class InodeTree {
public:
    using IProvider = provider::IProvider;

    InodeTree(const IProvider& provider, InodeGuards& guards);

    /// Not recursive, so that a deep tree does not overflow the stack.
    ~InodeTree();

    InodeTree(const InodeTree&) = delete;
    InodeTree& operator=(const InodeTree&) = delete;

    FolderInode& root() noexcept { return root_; }

    /// Number of names beyond the first of their inodes.
    const std::atomic<std::uint64_t>& aliases() const noexcept { return aliases_; }

private:
    friend class LockedTree;
    friend class SharedTree;
    friend class ExclusiveTree;

    using Removed = std::map<const Inode*, std::unique_ptr<TreeEntry>>;

    const IProvider& provider_;
    InodeGuards& guards_;
    SharedMutex mutex_;
    std::uint64_t nextNumber_ QZFL_GUARDED_BY(mutex_) = 1;
    std::atomic<std::uint64_t> aliases_{0};
    FolderInode root_;
    ChildTable nameless_ QZFL_GUARDED_BY(mutex_); ///< entries that programs have not named yet
    Removed removed_ QZFL_GUARDED_BY(mutex_);     ///< removed entries that the kernel still refers to
};

} // namespace storage::host
