#pragma once

#include "host/mount/Inode.h"
#include "host/mount/Owner.h"

namespace storage::host {

/// Which user and group each entry belongs to: the mount's default owner, unless the entry's rare attributes keep another.
///
/// Externally synchronized by the inodes' guards.
class Ownership {
public:
    explicit Ownership(Owner defaultOwner) noexcept : default_(defaultOwner) {}

    Owner of(const Inode& inode) const noexcept;

    /// The owner of an entry that `creator` makes in `folder`: a folder with the set-group-ID bit passes on its group.
    Owner ofNewIn(const Inode& folder, Owner creator) const noexcept;

    /// Whether `prepare` allocates.
    bool takesMemory(const Inode& inode, Owner owner) const noexcept;

    /// Allocates what `set` requires.
    void prepare(Inode& inode, Owner owner) const;

    /// Requires `prepare`.
    void set(Inode& inode, Owner owner) const noexcept;

private:
    const Owner default_;
};

/// The permissions of an entry that is made in `folder`: a folder inherits the set-group-ID bit.
mode_t permissionsOfNewIn(const Inode& folder, Inode::Kind kind, mode_t permissions) noexcept;

} // namespace storage::host
