#include "hostapi/storage/provider/defaults/EntryList.h"

#include "hostapi/storage/provider/defaults/VectorFolderEntryIterator.h"

#include <utility>

namespace foundation::storage::provider {

EntryList onlyMatching(EntryList entries, const WildcardPattern& pattern) {
    std::erase_if(entries, [&](const FolderEntry& entry) { return !pattern.matches(entry.getName()); });
    return entries;
}

std::vector<std::u16string> namesOf(const EntryList& entries) {
    std::vector<std::u16string> names;
    names.reserve(entries.size());
    for (const FolderEntry& entry : entries) {
        names.push_back(entry.getName());
    }
    return names;
}

std::unique_ptr<IFolderEntryIterator> listingOf(EntryList entries) {
    return std::make_unique<VectorFolderEntryIterator>(std::move(entries));
}

} // namespace foundation::storage::provider
