#pragma once

#include "host/mount/Inode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// The known entries of one folder, by name and in the order of a listing.
///
/// Owns the children: inodes and aliases. A child keeps its position as long as it stays in the folder. A
/// replacement takes the position of the entry that it replaces. A new child is listed before all others. So
/// a listing that is read in pieces returns each entry that is not removed exactly once, and ends, whatever
/// programs change meanwhile.
///
/// A child takes two pointers and some slack. Invariants: the slots are in descending order of position, and
/// no position occurs twice; n children have at most 2n + 8 slots; the last slot has a child. A folder with
/// few children has no buckets; otherwise each child is in the list of its bucket.
/// Externally synchronized by the tree's lock.
class ChildTable {
    static constexpr std::uint64_t lastPosition = std::uint64_t{1}
                                                  << 62U; ///< positive as a signed number, as programs see it

public:
    ChildTable() = default;
    ChildTable(const ChildTable&) = delete;
    ChildTable& operator=(const ChildTable&) = delete;
    ~ChildTable();

    /// The child of that name, or null.
    TreeEntry* find(std::u16string_view name) const noexcept;

    static std::u16string nameOf(const TreeEntry& child) { return child.place_.name.text(); }
    static std::uint64_t positionOf(const TreeEntry& child) noexcept { return child.place_.position; }

    bool empty() const noexcept { return children_ == 0; }

    /// Number of children that are folders.
    std::uint32_t folders() const noexcept { return folders_; }

    /// The next child of a listing after `position`, or null at its end.
    TreeEntry* after(std::uint64_t position) const noexcept;

    /// Adds a child. Precondition: no child has its name.
    /// @throws std::bad_alloc with nothing changed
    TreeEntry& add(std::unique_ptr<TreeEntry> child);

    std::unique_ptr<TreeEntry> remove(const TreeEntry& child) noexcept;

    /// Allocates what `moveHere` requires for one child.
    /// @throws std::bad_alloc with nothing changed
    void makeRoom();

    /// A position that no child has, listed before all others.
    std::uint64_t newPosition() noexcept { return nextPosition_--; }

    /// Moves `child` here from `from`, which may be this table. Precondition: without `child`, the name and
    /// the position are free here.
    void moveHere(ChildTable& from, const TreeEntry& child, CompactName name,
                  std::uint64_t position) noexcept;

    /// Exchanges the places of `child`, which is here, and `other` of the table `from`, which may be this
    /// one. A place includes the parent.
    void exchange(TreeEntry& child, ChildTable& from, TreeEntry& other) noexcept;

    /// Whether the table has all entries of the folder that programs can name.
    bool isComplete() const noexcept { return isComplete_; }
    void setComplete() noexcept { isComplete_ = true; }

    /// Calls `visit` with every child, in the order of a listing.
    template <typename Visit>
    void forEach(const Visit& visit) const {
        std::for_each(slots_.rbegin(), slots_.rend(), [&](const Slot& slot) {
            if (slot.child() != nullptr) {
                visit(*slot.child());
            }
        });
    }

private:
    /// A child at its position in a listing, or the position alone, after the child has left. A value.
    class Slot {
    public:
        explicit Slot(TreeEntry& child) noexcept : bits_(reinterpret_cast<std::uintptr_t>(&child)) {}

        /// Null if the slot is empty.
        TreeEntry* child() const noexcept {
            return (bits_ & 1U) != 0
                       ? nullptr
                       : reinterpret_cast<TreeEntry*>(bits_); // NOLINT(performance-no-int-to-ptr)
        }
        std::uint64_t position() const noexcept {
            return (bits_ & 1U) != 0 ? bits_ >> 1U : child()->place_.position;
        }
        void clear() noexcept { bits_ = position() << 1U | 1U; }

    private:
        std::uint64_t bits_; ///< a pointer, which is even, or twice the position plus 1
    };

    using Slots = std::vector<Slot>;
    using Buckets = std::vector<TreeEntry*>;

    Slots::iterator slotFrom(std::uint64_t position) noexcept;
    Slots::const_iterator slotFrom(std::uint64_t position) const noexcept;
    TreeEntry& takeOut(const TreeEntry& child) noexcept;
    void put(TreeEntry& child) noexcept;
    void removeEmptySlots() noexcept;
    void trimBuckets() noexcept;
    void rebuildBuckets(std::size_t count);
    std::size_t bucketOf(const TreeEntry& child) const noexcept;
    std::size_t bucketOf(std::u16string_view name) const noexcept;
    void link(TreeEntry& child) noexcept;
    void unlink(const TreeEntry& child) noexcept;

    Slots slots_;
    Buckets buckets_; ///< first child of each bucket, by hash of the name; the number is a power of two or 0
    std::uint64_t nextPosition_ = lastPosition; ///< counts down; 1 and 2 belong to "." and ".."
    std::uint32_t children_ = 0;
    std::uint32_t folders_ = 0;
    bool isComplete_ = false;
};

} // namespace storage::host
