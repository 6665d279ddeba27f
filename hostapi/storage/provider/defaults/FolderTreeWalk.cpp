#include "hostapi/storage/provider/defaults/FolderTreeWalk.h"

#include "hostapi/storage/provider/Exception.h"

#include <algorithm>

namespace foundation::storage::provider {

namespace {

bool hasEmptyName(const FolderEntry& entry) {
    return entry.getName().empty();
}

} // namespace

FolderTreeWalk::FolderTreeWalk(const IProvider& provider, const StorageIRI& top) : provider_(provider) {
    levels_.push_back({0, top, readEntries(provider.doListAll(top))});
}

bool FolderTreeWalk::advance() {
    if (event_ == Event::FolderEntered) {
        const StorageIRI folder = location();
        levels_.push_back({relativePath_.size(), folder, listEnteredFolder(folder)});
    }
    Level& level = levels_.back();
    relativePath_.resize(level.pathLength);
    if (level.next == level.entries.size()) {
        return leaveFolder();
    }
    meet(level.entries[level.next++]);
    return true;
}

EntryList FolderTreeWalk::listEnteredFolder(const StorageIRI& folder) const {
    try {
        EntryList entries = readEntries(provider_.doListAll(folder));
        const bool mayBeAncestorAgain =
            name().empty() && std::any_of(entries.begin(), entries.end(), hasEmptyName);
        return mayBeAncestorAgain ? EntryList() : entries; // or the walk might not terminate
    } catch (const Exception& failure) {
        if (failure.getErrorCode() != ErrorCode::NotFound) {
            throw;
        }
        return {};
    }
}

bool FolderTreeWalk::leaveFolder() {
    levels_.pop_back();
    event_ = Event::FolderLeft;
    return !levels_.empty();
}

void FolderTreeWalk::meet(const FolderEntry& entry) {
    if (levels_.size() > 1) {
        relativePath_ += u'/';
    }
    relativePath_ += entry.getName();
    event_ = entry.getType() == FolderEntry::EntryType::Folder ? Event::FolderEntered : Event::FileMet;
}

std::u16string_view FolderTreeWalk::name() const noexcept {
    std::u16string_view path = relativePath_;
    return path.substr(path.rfind(u'/') + 1); // without "/" the whole path, because npos + 1 is 0
}

} // namespace foundation::storage::provider
