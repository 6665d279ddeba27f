#pragma once

#include "host/mount/Inode.h"

#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace storage::host {

/// The known entries of one folder, by name and in the order of a listing.
///
/// Owns the inodes, and the aliases. A child keeps its position as long as it stays in the folder; a replacement takes the position of
/// the entry that it replaces; a new child goes before all others. So a listing that is read in pieces misses no entry
/// that stays, repeats none, and ends, whatever a program does with the entries meanwhile.
/// Externally synchronized: guarded by the tree's lock.
class ChildTable {
    static constexpr std::uint64_t lastPosition = std::uint64_t{1}
                                                  << 62U; ///< programs get it as a signed number

public:
    /// The child of that name, or null.
    TreeEntry* find(std::u16string_view name) const noexcept;

    static const std::u16string& nameOf(const TreeEntry& child) noexcept { return child.place_.name; }
    static std::uint64_t positionOf(const TreeEntry& child) noexcept { return child.place_.position; }

    bool empty() const noexcept { return byName_.empty(); }

    /// Number of children that are folders.
    std::uint32_t folders() const noexcept { return folders_; }

    /// The next child of a listing after `position`, or null at its end.
    TreeEntry* after(std::uint64_t position) const noexcept;

    /// Adds a child whose name is not there yet.
    /// @throws std::bad_alloc with nothing changed
    TreeEntry& add(std::unique_ptr<TreeEntry> child);

    std::unique_ptr<TreeEntry> remove(const TreeEntry& child) noexcept;

    /// Allocates what `moveHere` requires for one child.
    void makeRoom() { byName_.reserve(byName_.size() + 1); }

    /// A position that no child has, before all that have one.
    std::uint64_t newPosition() noexcept { return nextPosition_--; }

    /// Moves `child` here from `from`, which may be this table. Name and position must be free here by then.
    void moveHere(ChildTable& from, const TreeEntry& child, std::u16string name,
                  std::uint64_t position) noexcept;

    /// Lets `child`, which is here, and `other` of the table `from`, which may be this one, change places, parents
    /// included.
    void exchange(TreeEntry& child, ChildTable& from, TreeEntry& other) noexcept;

    /// Whether an entry that programs can name and that is not here does not exist.
    bool isComplete() const noexcept { return isComplete_; }
    void setComplete() noexcept { isComplete_ = true; }

    /// Calls `visit` with every child.
    template <typename Visit>
    void forEach(const Visit& visit) const {
        for (const auto& [position, child] : byPosition_) {
            visit(*child);
        }
    }

private:
    using ByName = std::unordered_map<std::u16string_view, std::unique_ptr<TreeEntry>>;

    ByName::node_type extract(const TreeEntry& child) noexcept;
    void insert(ByName::node_type child) noexcept;

    ByName byName_; ///< each key is the name in its entry
    std::map<std::uint64_t, TreeEntry*> byPosition_;
    std::uint64_t nextPosition_ = lastPosition; ///< "." and ".." have 1 and 2
    std::uint32_t folders_ = 0;
    bool isComplete_ = false;
};

} // namespace storage::host
