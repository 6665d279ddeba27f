#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace storage::host {

struct FolderInode;
struct Inode;

/// A name in a folder: an inode's own, or an alias.
///
/// The place is guarded by the tree's lock and reached only through `LockedTree`, which holds it.
class TreeEntry {
public:
    TreeEntry(const TreeEntry&) = delete;
    TreeEntry& operator=(const TreeEntry&) = delete;
    virtual ~TreeEntry() = default;

    /// Whether the name is a further one of an inode, and not its own.
    bool isAlias() const noexcept { return role_ == Role::Alias; }

    /// The inode that has the name.
    Inode& inode() noexcept;
    const Inode& inode() const noexcept;

protected:
    enum class Role : std::uint8_t { Inode, Alias };

    TreeEntry(Role role, std::u16string name) noexcept : place_{std::move(name)}, role_(role) {}

private:
    friend class ChildTable;
    friend class InodeTree;
    friend class LockedTree;
    friend class ExclusiveTree;

    struct Place {
        std::u16string name;           ///< empty for the root
        FolderInode* parent = nullptr; ///< null for the root and for removed entries
        std::uint64_t position = 0;    ///< in the listing of the parent
    };

    Place place_;
    const Role role_;
};

} // namespace storage::host
