#include "host/session/EntryModes.h"

#include <utility>

namespace storage::host {

void EntryModes::set(const StoragePath& path, Kind kind, mode_t mode) {
    if (mode == (kind == Kind::File ? usualFile_ : usualFolder_)) {
        recorded_.erase(path.text());
    } else {
        recorded_.insert_or_assign(path.text(), mode);
    }
}

std::optional<mode_t> EntryModes::find(const StoragePath& path) const {
    const auto found = recorded_.find(path.text());
    return found == recorded_.end() ? std::nullopt : std::optional(found->second);
}

void EntryModes::moved(const StoragePath& from, const StoragePath& to) {
    if (from == to) {
        return;
    }
    recorded_.erase(to.text());
    const std::u16string below = from.text() + u'/';
    std::map<std::u16string, mode_t> rebased;
    if (auto self = recorded_.extract(from.text())) {
        self.key() = to.text();
        rebased.insert(std::move(self));
    }
    for (auto next = recorded_.lower_bound(below);
         next != recorded_.end() && next->first.starts_with(below);) {
        auto entry = recorded_.extract(next++);
        entry.key() = to.text() + entry.key().substr(from.text().size());
        rebased.insert(std::move(entry));
    }
    recorded_.merge(rebased);
}

void EntryModes::copied(const StoragePath& from, const StoragePath& to) {
    if (const auto mode = find(from)) {
        recorded_.insert_or_assign(to.text(), *mode);
    } else {
        recorded_.erase(to.text());
    }
}

} // namespace storage::host
