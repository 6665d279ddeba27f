#include "tests/compare/TreeSketch.h"

namespace syscalls {

void TreeSketch::link(const std::string& from, const std::string& to) {
    if (const auto entry = entries_.find(from); entry != entries_.end()) {
        entries_[to] = entry->second;
    }
}

void TreeSketch::move(const std::string& from, const std::string& to) {
    std::map<std::string, Kind> moved;
    std::erase_if(entries_, [&](const auto& entry) {
        const auto& [path, kind] = entry;
        const bool isMoved = path == from || path.starts_with(from + '/');
        if (isMoved) {
            moved[to + path.substr(from.size())] = kind;
        }
        return isMoved || path == to;
    });
    entries_.merge(moved);
}

void TreeSketch::exchange(const std::string& first, const std::string& second) {
    const std::string aside = first + "\n";
    move(first, aside);
    move(second, first);
    move(aside, second);
}

void TreeSketch::setSlot(unsigned user, std::int64_t slot, Slot content) {
    slots_.at(user).at(static_cast<std::size_t>(slot)) = content;
}

std::vector<std::string> TreeSketch::paths() const {
    std::vector<std::string> result;
    for (const auto& [path, kind] : entries_) {
        result.push_back(path);
    }
    return result;
}

std::vector<std::string> TreeSketch::paths(Kind kind) const {
    std::vector<std::string> result;
    for (const auto& [path, found] : entries_) {
        if (found == kind) {
            result.push_back(path);
        }
    }
    return result;
}

} // namespace syscalls
