#include "host/mount/ChildTable.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

namespace storage::host {

namespace {

constexpr std::size_t fewChildren = 8; ///< a growing folder has no buckets up to this number

/// Does not access the inode of an alias: while the tree is destroyed, the inode may be destroyed already.
bool isFolder(const TreeEntry& child) noexcept {
    return !child.isAlias() && child.inode().isFolder();
}

/// Grows by half instead of doubling, because each folder pays for its slack.
template <typename Vector>
void makeRoomIn(Vector& vector) {
    if (vector.size() == vector.capacity()) {
        vector.reserve(vector.size() + vector.size() / 2 + 2);
    }
}

/// Frees most of the slack. Leaves room for at least one more element.
template <typename Vector>
void trim(Vector& vector) noexcept {
    if (vector.capacity() <= 4 * (vector.size() + fewChildren)) {
        return;
    }
    try {
        Vector trimmed;
        trimmed.reserve(vector.size() + vector.size() / 2 + 2);
        trimmed.assign(vector.begin(), vector.end());
        vector.swap(trimmed);
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
        // The slack stays.
    }
}

} // namespace

ChildTable::~ChildTable() {
    for (const Slot& slot : slots_) {
        delete slot.child(); // NOLINT(cppcoreguidelines-owning-memory)
    }
}

TreeEntry* ChildTable::find(std::u16string_view name) const noexcept {
    const auto hasName = [&](const TreeEntry& child) {
        return child.place_.name.read([&](std::u16string_view own) { return own == name; });
    };
    if (buckets_.empty()) {
        for (const Slot& slot : slots_) {
            if (slot.child() != nullptr && hasName(*slot.child())) {
                return slot.child();
            }
        }
        return nullptr;
    }
    TreeEntry* child = buckets_[bucketOf(name)];
    while (child != nullptr && !hasName(*child)) {
        child = child->nextInBucket_;
    }
    return child;
}

TreeEntry* ChildTable::after(std::uint64_t position) const noexcept {
    for (auto slot = slotFrom(position); slot != slots_.begin();) {
        --slot;
        if (slot->child() != nullptr) {
            return slot->child();
        }
    }
    return nullptr;
}

TreeEntry& ChildTable::add(std::unique_ptr<TreeEntry> child) {
    makeRoom();
    TreeEntry& added = *child.release();
    added.place_.position = newPosition();
    put(added);
    return added;
}

std::unique_ptr<TreeEntry> ChildTable::remove(const TreeEntry& child) noexcept {
    std::unique_ptr<TreeEntry> removed(&takeOut(child));
    removeEmptySlots();
    trimBuckets();
    return removed;
}

/// Removes empty slots rather than growing, if there are enough of them for that to be amortized O(1).
/// Growing takes whole pages, which the removed children may not have freed.
void ChildTable::makeRoom() {
    if (slots_.size() == slots_.capacity() && slots_.size() - children_ > slots_.size() / 4) {
        std::erase_if(slots_, [](const Slot& slot) { return slot.child() == nullptr; });
    }
    makeRoomIn(slots_);
    if (children_ >= std::max(fewChildren, buckets_.size())) {
        rebuildBuckets(2 * std::max(fewChildren, buckets_.size()));
    }
}

void ChildTable::moveHere(ChildTable& from, const TreeEntry& child, CompactName name,
                          std::uint64_t position) noexcept {
    TreeEntry& moved = from.takeOut(child);
    moved.place_.name = std::move(name);
    moved.place_.position = position;
    put(moved);
    from.removeEmptySlots();
}

void ChildTable::exchange(TreeEntry& child, ChildTable& from, TreeEntry& other) noexcept {
    const auto here = slotFrom(child.place_.position);
    const auto there = from.slotFrom(other.place_.position);
    unlink(child);
    from.unlink(other);
    std::swap(*here, *there);
    std::swap(child.place_, other.place_);
    link(other);
    from.link(child);
    folders_ += (isFolder(other) ? 1U : 0U) - (isFolder(child) ? 1U : 0U);
    from.folders_ += (isFolder(child) ? 1U : 0U) - (isFolder(other) ? 1U : 0U);
}

/// The first slot with at most this position. First tries the slot that has the position if no child has left
/// the folder yet.
ChildTable::Slots::const_iterator ChildTable::slotFrom(std::uint64_t position) const noexcept {
    const std::uint64_t latest = lastPosition - std::min(position, lastPosition);
    if (latest < slots_.size()) {
        const auto slot = slots_.begin() + static_cast<std::ptrdiff_t>(latest);
        if (slot->position() == position) {
            return slot;
        }
    }
    return std::partition_point(slots_.begin(), slots_.end(),
                                [&](const Slot& slot) { return slot.position() > position; });
}

ChildTable::Slots::iterator ChildTable::slotFrom(std::uint64_t position) noexcept {
    return slots_.begin() + (std::as_const(*this).slotFrom(position) - slots_.cbegin());
}

/// Leaves an empty slot, which `put` may fill.
TreeEntry& ChildTable::takeOut(const TreeEntry& child) noexcept {
    unlink(child);
    Slot& slot = *slotFrom(child.place_.position);
    TreeEntry& taken = *slot.child();
    slot.clear();
    --children_;
    folders_ -= isFolder(taken) ? 1 : 0;
    return taken;
}

/// Allocates nothing after `makeRoom`.
void ChildTable::put(TreeEntry& child) noexcept {
    const auto slot = slotFrom(child.place_.position);
    if (slot != slots_.end() && slot->position() == child.place_.position) {
        *slot = Slot(child);
    } else {
        slots_.insert(slot, Slot(child));
    }
    ++children_;
    folders_ += isFolder(child) ? 1 : 0;
    link(child);
}

/// Amortized O(1) for each removal.
void ChildTable::removeEmptySlots() noexcept {
    while (!slots_.empty() && slots_.back().child() == nullptr) {
        slots_.pop_back();
    }
    if (slots_.size() > 2 * std::size_t{children_} + fewChildren) {
        std::erase_if(slots_, [](const Slot& slot) { return slot.child() == nullptr; });
    }
    trim(slots_);
}

void ChildTable::trimBuckets() noexcept {
    if (children_ < fewChildren / 2) {
        Buckets().swap(buckets_);
    } else if (children_ < buckets_.size() / 8) {
        try {
            rebuildBuckets(buckets_.size() / 4);
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
            // The table keeps its buckets.
        }
    }
}

void ChildTable::rebuildBuckets(std::size_t count) {
    Buckets(count).swap(buckets_);
    forEach([&](TreeEntry& child) { link(child); });
}

std::size_t ChildTable::bucketOf(std::u16string_view name) const noexcept {
    return std::hash<std::u16string_view>()(name) & (buckets_.size() - 1);
}

std::size_t ChildTable::bucketOf(const TreeEntry& child) const noexcept {
    return child.place_.name.read([&](std::u16string_view name) { return bucketOf(name); });
}

void ChildTable::link(TreeEntry& child) noexcept {
    if (!buckets_.empty()) {
        child.nextInBucket_ = std::exchange(buckets_[bucketOf(child)], &child);
    }
}

void ChildTable::unlink(const TreeEntry& child) noexcept {
    if (!buckets_.empty()) {
        TreeEntry** place = &buckets_[bucketOf(child)];
        while (*place != &child) {
            place = &(*place)->nextInBucket_;
        }
        *place = child.nextInBucket_;
    }
}

} // namespace storage::host
