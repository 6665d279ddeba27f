#pragma once

#include "host/mount/CompactName.h"

#include <cstdint>
#include <utility>

namespace storage::host {

struct FolderInode;
struct Inode;

/// A name in a folder: an inode's own name, or an alias.
///
/// The place is guarded by the tree's lock and is accessible only through `LockedTree`, which holds the lock.
class TreeEntry {
public:
    TreeEntry(const TreeEntry&) = delete;
    TreeEntry& operator=(const TreeEntry&) = delete;
    virtual ~TreeEntry() = default;

    /// Whether the name is an additional hard link of an inode.
    virtual bool isAlias() const noexcept = 0;

    /// The inode that has the name.
    virtual Inode& inode() noexcept = 0;
    virtual const Inode& inode() const noexcept = 0;

protected:
    explicit TreeEntry(CompactName name) noexcept : place_{std::move(name)} {}

private:
    friend class ChildTable;
    friend class InodeTree;
    friend class LockedTree;
    friend class ExclusiveTree;

    struct Place {
        CompactName name;              ///< empty for the root
        FolderInode* parent = nullptr; ///< null for the root and for removed entries
        std::uint64_t position = 0;    ///< in the listing of the parent
    };

    Place place_;
    TreeEntry* nextInBucket_ = nullptr; ///< used by `ChildTable`
};

} // namespace storage::host
