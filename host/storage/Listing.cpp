#include "host/storage/Listing.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>

namespace storage::host {

using provider::FolderEntry;
using provider::IFolderEntryIterator;

std::vector<FolderEntry> sortedEntries(std::unique_ptr<IFolderEntryIterator> listing) {
    auto entries = readEntries(std::move(listing));
    std::sort(entries.begin(), entries.end(), [](const FolderEntry& left, const FolderEntry& right) {
        return left.getName() < right.getName();
    });
    return entries;
}

} // namespace storage::host
