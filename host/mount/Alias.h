#pragma once

#include "host/mount/Inode.h"

#include <cstddef>
#include <utility>

namespace storage::host {

/// An additional name of an inode: a hard link. The provider has the inode under its own name only.
///
/// Refers to the inode, which exists as long as it has names, and lists its aliases in `RareAttributes`.
class Alias final : public TreeEntry {
public:
    Alias(CompactName name, Inode& inode) noexcept : TreeEntry(std::move(name)), inode_(inode) {}

    bool isAlias() const noexcept override { return true; }
    Inode& inode() noexcept override { return inode_; }
    const Inode& inode() const noexcept override { return inode_; }

private:
    friend class ExclusiveTree;

    Inode& inode_;
    std::size_t index_ = 0; ///< in the list of the inode's aliases
};

} // namespace storage::host
