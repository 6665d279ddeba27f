#pragma once

#include "host/mount/FileContents.h"
#include "host/mount/LockedTree.h"
#include "host/mount/Ownership.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <sys/stat.h>
#include <sys/types.h>

namespace storage::host {

/// The attributes that a program sets on an entry. A value.
struct AttributeChange {
    /// What becomes of the set-ID bits of a file that gets other bytes or another owner.
    enum class SetIds { Kept, Cleared };

    std::optional<mode_t> permissions;
    std::optional<std::uint64_t> size; ///< bytes
    std::optional<timespec> modified;  ///< UTC
    std::optional<timespec> accessed;
    std::optional<timespec> changed;
    std::optional<uid_t> owner;
    std::optional<gid_t> group;
    SetIds setIds = SetIds::Kept;
};

/// What statx(2) shows of an entry. A value.
struct CompleteStatus {
    struct stat status;
    timespec born;
};

/// What programs see and set of an entry with stat(2), chmod(2), chown(2), truncate(2) and utimensat(2).
///
/// Borrows provider, tree, guards, contents, space and ownership. Functions without a `LockedTree` acquire the locks themselves.
/// Thread-safe.
class MountedAttributes {
public:
    using IProvider = foundation::storage::provider::IProvider;

    MountedAttributes(const IProvider& provider, InodeTree& tree, InodeGuards& guards, FileContents& contents,
                      StorageSpace& space, const Ownership& ownership);

    struct stat status(Inode& inode);
    struct stat statusOf(const LockedTree& tree, Inode& inode);

    /// With the time of creation.
    CompleteStatus completeStatus(Inode& inode);

    /// Inode number, file type and device number only, which never change.
    static struct stat identify(const Inode& inode);

    struct stat change(Inode& inode, const AttributeChange& change);

    /// The provider gets the time from `FileContents::settle`, as a write must not take a provider's operation more.
    void stampModified(FileInode& file);

    /// Takes away the set-user-ID bit, and the set-group-ID bit of what the group may run.
    /// @return whether it had any
    bool clearSetIds(FileInode& file);

private:
    struct stat apply(const AttributeChange& change, Inode& inode);
    struct stat show(const LockedTree& tree, const Inode& inode, const InodeGuards::Held& held) const;
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
