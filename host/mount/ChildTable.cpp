#include "host/mount/ChildTable.h"

#include <utility>

namespace storage::host {

namespace {

/// The inode of an alias may be destroyed already, when the whole tree is.
bool isFolder(const TreeEntry& child) noexcept {
    return !child.isAlias() && child.inode().isFolder();
}

} // namespace

TreeEntry* ChildTable::find(std::u16string_view name) const noexcept {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second.get();
}

TreeEntry* ChildTable::after(std::uint64_t position) const noexcept {
    const auto next = byPosition_.upper_bound(position);
    return next == byPosition_.end() ? nullptr : next->second;
}

TreeEntry& ChildTable::add(std::unique_ptr<TreeEntry> child) {
    TreeEntry& added = *child;
    const auto place = byPosition_.emplace_hint(byPosition_.begin(), nextPosition_, &added);
    try {
        byName_.emplace(added.place_.name, std::move(child));
    } catch (...) {
        byPosition_.erase(place);
        throw;
    }
    added.place_.position = newPosition();
    folders_ += isFolder(added) ? 1 : 0;
    return added;
}

std::unique_ptr<TreeEntry> ChildTable::remove(const TreeEntry& child) noexcept {
    byPosition_.erase(child.place_.position);
    return std::move(extract(child).mapped());
}

void ChildTable::moveHere(ChildTable& from, const TreeEntry& child, std::u16string name,
                          std::uint64_t position) noexcept {
    auto place = from.byPosition_.extract(child.place_.position);
    auto node = from.extract(child);
    TreeEntry& moved = *node.mapped();
    moved.place_.name = std::move(name);
    moved.place_.position = position;
    place.key() = position;
    insert(std::move(node));
    byPosition_.insert(std::move(place));
}

/// Neither table grows, so nothing is allocated.
void ChildTable::exchange(TreeEntry& child, ChildTable& from, TreeEntry& other) noexcept {
    byPosition_.find(child.place_.position)->second = &other;
    from.byPosition_.find(other.place_.position)->second = &child;
    auto here = extract(child);
    auto there = from.extract(other);
    std::swap(here.mapped(), there.mapped());
    std::swap(child.place_, other.place_);
    insert(std::move(here));
    from.insert(std::move(there));
}

ChildTable::ByName::node_type ChildTable::extract(const TreeEntry& child) noexcept {
    folders_ -= isFolder(child) ? 1 : 0;
    return byName_.extract(child.place_.name);
}

/// The name of the entry may have changed.
void ChildTable::insert(ByName::node_type child) noexcept {
    folders_ += isFolder(*child.mapped()) ? 1 : 0;
    child.key() = child.mapped()->place_.name;
    byName_.insert(std::move(child));
}

} // namespace storage::host
