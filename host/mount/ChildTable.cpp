#include "host/mount/ChildTable.h"

#include <utility>

namespace storage::host {

Inode* ChildTable::find(std::u16string_view name) const noexcept {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second.get();
}

Inode* ChildTable::after(std::uint64_t position) const noexcept {
    const auto next = byPosition_.upper_bound(position);
    return next == byPosition_.end() ? nullptr : next->second;
}

Inode& ChildTable::add(std::unique_ptr<Inode> child) {
    Inode& added = *child;
    const auto place = byPosition_.emplace_hint(byPosition_.begin(), nextPosition_, &added);
    try {
        byName_.emplace(added.place_.name, std::move(child));
    } catch (...) {
        byPosition_.erase(place);
        throw;
    }
    added.place_.position = newPosition();
    return added;
}

std::unique_ptr<Inode> ChildTable::remove(const Inode& child) noexcept {
    byPosition_.erase(child.place_.position);
    return std::move(byName_.extract(child.place_.name).mapped());
}

void ChildTable::moveHere(ChildTable& from, const Inode& child, std::u16string name,
                          std::uint64_t position) noexcept {
    auto place = from.byPosition_.extract(child.place_.position);
    auto node = from.byName_.extract(child.place_.name);
    Inode& moved = *node.mapped();
    moved.place_.name = std::move(name);
    moved.place_.position = position;
    node.key() = moved.place_.name;
    place.key() = position;
    byName_.insert(std::move(node));
    byPosition_.insert(std::move(place));
}

} // namespace storage::host
