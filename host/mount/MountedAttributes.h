#pragma once

#include "host/mount/FileContents.h"
#include "host/mount/LockedTree.h"
#include "host/mount/Ownership.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <sys/stat.h>
#include <sys/types.h>

namespace storage::host {

/// A change of attributes by a program. A value.
struct AttributeChange {
    /// What happens to the set-ID bits of a file when its bytes or its owner change. A member of its group,
    /// and root, leave a set-group-ID bit without group execute permission.
    enum class SetIds { Kept, ClearedByMember, ClearedByOther };

    std::optional<mode_t> permissions;
    std::optional<std::uint64_t> size; ///< bytes
    std::optional<timespec> modified;  ///< UTC
    std::optional<timespec> accessed;
    std::optional<timespec> changed;
    std::optional<uid_t> owner;
    std::optional<gid_t> group;
    SetIds setIds = SetIds::Kept;
};

/// The attributes of an entry for statx(2). A value.
struct CompleteStatus {
    struct stat status;
    timespec born;
};

/// Implements stat(2), chmod(2), chown(2), truncate(2) and utimensat(2).
///
/// Borrows provider, tree, guards, contents, space and ownership. Functions without a `LockedTree` acquire
/// the locks themselves. Thread-safe.
class MountedAttributes {
public:
    using IProvider = provider::IProvider;

    MountedAttributes(const IProvider& provider, InodeTree& tree, InodeGuards& guards, FileContents& contents,
                      StorageSpace& space, const Ownership& ownership);

    struct stat status(Inode& inode);
    struct stat statusOf(const LockedTree& tree, Inode& inode);

    /// Includes the time of creation.
    CompleteStatus completeStatus(Inode& inode);

    /// Only inode number, file type and device number, which never change.
    static struct stat identify(const Inode& inode);

    struct stat change(Inode& inode, const AttributeChange& change);

    /// Sets the time of modification to now. `FileContents::settle` passes the time to the provider, because
    /// an additional provider operation would slow down each write.
    void stampModified(FileInode& file);

    /// Clears set-ID bits of a file that is written to.
    /// @return whether a bit was cleared
    bool clearSetIds(FileInode& file, AttributeChange::SetIds setIds);

    /// Permissions after a change of a file's bytes or owner.
    static mode_t withSetIds(mode_t permissions, AttributeChange::SetIds setIds);

private:
    struct stat apply(const AttributeChange& change, Inode& inode);
    struct stat makeStatus(const LockedTree& tree, const Inode& inode, const InodeGuards::Held& held) const;
    void setModified(const LockedTree& tree, Inode& inode, const InodeGuards::Held& held,
                     const timespec& time) const;
    void setModifiedAnyway(const LockedTree& tree, Inode& inode, const InodeGuards::Held& held,
                           const timespec& time) const noexcept;
    void setPermissions(const LockedTree& tree, Inode& inode, const InodeGuards::Held& held,
                        mode_t permissions) const;
    void setOwner(Inode& inode, const AttributeChange& change) const;

    const IProvider& provider_;
    InodeTree& tree_;
    InodeGuards& guards_;
    FileContents& contents_;
    StorageSpace& space_;
    const Ownership& ownership_;
};

} // namespace storage::host
