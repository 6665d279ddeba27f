#include "hostapi/storage/provider/defaults/FolderTreeWalk.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/defaults/DerivedLocation.h"

namespace foundation::storage::provider {

FolderTreeWalk::FolderTreeWalk(const IProvider& provider, const StorageIRI& top)
    : provider_(provider), top_(top) {
    levels_.push_back({0, readEntries(provider.doListAll(top))});
}

bool FolderTreeWalk::advance() {
    if (event_ == Event::FolderEntered) {
        levels_.push_back({relativePath_.size(), listEnteredFolder()});
    }
    Level& level = levels_.back();
    relativePath_.resize(level.pathLength);
    if (level.next == level.entries.size()) {
        return leaveFolder();
    }
    meet(level.entries[level.next++]);
    return true;
}

EntryList FolderTreeWalk::listEnteredFolder() const {
    if (name().empty()) {
        return {}; // its location would be that of the folder above again, and the walk would never end
    }
    try {
        return readEntries(provider_.doListAll(location()));
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
    return path.substr(path.rfind(u'/') + 1); // without any "/" this is the whole path, npos + 1 being 0
}

StorageIRI FolderTreeWalk::location() const {
    return locationBelow(top_, relativePath_);
}

} // namespace foundation::storage::provider
