#include "host/session/ImportLog.h"

#include "host/session/PathPrefix.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

namespace storage::host {

namespace {

/// Keeps "..": after a symbolic link it is the parent of the link's target, not the folder of the link.
std::string absolutePath(const std::string& diskPath) {
    std::filesystem::path result;
    for (const std::filesystem::path& name : std::filesystem::absolute(diskPath)) {
        if (name != ".") {
            result /= name;
        }
    }
    return result.string();
}

bool isEarlier(const ImportSource& left, const ImportSource& right) {
    return left.order < right.order;
}

} // namespace

void ImportLog::add(const std::string& diskPath, const StoragePath& path, ImportSource::Scope scope,
                    std::shared_ptr<const EntrySelection> selection) {
    targets_[path.text()].insert_or_assign({absolutePath(diskPath), scope},
                                           Import{++lastOrder_, std::move(selection)});
}

void ImportLog::movedTo(ImportLog& log, const StoragePath& from, const StoragePath& to) {
    if (from == to) {
        return;
    }
    std::vector<std::pair<StoragePath, ImportSource>> sources;
    const auto take = [&](const std::u16string& text) {
        const StoragePath path = StoragePath::resolve(root_, text);
        for (ImportSource& source : at(path)) {
            sources.emplace_back(path.rebased(from, to), std::move(source));
        }
    };
    if (const auto self = targets_.find(from.text()); self != targets_.end()) {
        take(self->first);
        targets_.erase(self);
    }
    const std::u16string below = prefixBelow(from);
    auto next = targets_.lower_bound(below);
    while (next != targets_.end() && next->first.starts_with(below)) {
        take(next->first);
        next = targets_.erase(next);
    }
    std::sort(sources.begin(), sources.end(),
              [](const auto& left, const auto& right) { return isEarlier(left.second, right.second); });
    for (const auto& [path, source] : sources) {
        log.targets_[path.text()].insert_or_assign({source.diskPath, source.scope},
                                                   Import{++log.lastOrder_, source.selection});
    }
}

std::vector<StoragePath> ImportLog::topmost() const {
    std::vector<StoragePath> paths;
    for (const auto& [text, sources] : targets_) {
        StoragePath path = StoragePath::resolve(root_, text);
        if (!isBelowCopy(path)) {
            paths.push_back(std::move(path));
        }
    }
    return paths;
}

std::vector<ImportSource> ImportLog::at(const StoragePath& path) const {
    std::vector<ImportSource> sources;
    if (const auto found = targets_.find(path.text()); found != targets_.end()) {
        for (const auto& [source, import] : found->second) {
            sources.push_back({source.first, source.second, import.order, import.selection});
        }
    }
    std::sort(sources.begin(), sources.end(), isEarlier);
    return sources;
}

std::vector<std::u16string> ImportLog::namesIn(const StoragePath& folder) const {
    const std::u16string below = prefixBelow(folder);
    std::vector<std::u16string> names;
    for (auto next = targets_.upper_bound(below); next != targets_.end() && next->first.starts_with(below);
         ++next) {
        const auto rest = std::u16string_view(next->first).substr(below.size());
        names.emplace_back(rest.substr(0, rest.find(u'/')));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

bool ImportLog::covers(const StoragePath& path) const {
    const auto sources = at(path);
    return isBelowCopy(path) || std::any_of(sources.begin(), sources.end(), [](const ImportSource& source) {
               return source.scope == ImportSource::Scope::Whole;
           });
}

bool ImportLog::isBelowCopy(const StoragePath& path) const {
    StoragePath above = path;
    while (!above.isRoot()) {
        above = above.parent();
        if (targets_.contains(above.text())) {
            return true;
        }
    }
    return false;
}

} // namespace storage::host
