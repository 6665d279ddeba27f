#pragma once

#include "host/mount/Inode.h"
#include "host/mount/Owner.h"

namespace storage::host {

/// Returns and sets the owner of entries: the mount's default owner, unless the entry's rare attributes store
/// another.
///
/// Externally synchronized by the inodes' guards.
class Ownership {
public:
    explicit Ownership(Owner defaultOwner) noexcept : default_(defaultOwner) {}

    Owner of(const Inode& inode) const noexcept;

    /// The owner of an entry that `creator` creates in `folder`: a folder with the set-group-ID bit passes on
    /// its group.
    Owner ofNewIn(const Inode& folder, Owner creator) const noexcept;

    /// Whether `prepare` allocates.
    bool takesMemory(const Inode& inode, Owner owner) const noexcept;

    /// Allocates the memory for `set`.
    void prepare(Inode& inode, Owner owner) const;

    /// Precondition: `prepare` was called.
    void set(Inode& inode, Owner owner) const noexcept;

private:
    const Owner default_;
};

/// The permissions of an entry that is created in `folder`: a folder inherits the set-group-ID bit.
mode_t permissionsOfNewIn(const Inode& folder, Inode::Kind kind, mode_t permissions) noexcept;

} // namespace storage::host
