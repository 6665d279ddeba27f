#include "host/storage/Listing.h"

#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>

namespace storage::host {

using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IFolderEntryIterator;
using foundation::storage::provider::requireNonNull;

std::vector<FolderEntry> readEntries(std::unique_ptr<IFolderEntryIterator> listing) {
    listing = requireNonNull(std::move(listing), "listing");
    std::vector<FolderEntry> entries;
    while (listing->hasNext()) {
        listing->step();
        entries.push_back(listing->getEntry());
    }
    return entries;
}

std::vector<FolderEntry> sortedEntries(std::unique_ptr<IFolderEntryIterator> listing) {
    auto entries = readEntries(std::move(listing));
    std::sort(entries.begin(), entries.end(), [](const FolderEntry& left, const FolderEntry& right) {
        return left.getName() < right.getName();
    });
    return entries;
}

} // namespace storage::host
