#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/ListingRange.h"
#include "hostapi/storage/provider/WildcardPattern.h"

#include <memory>
#include <string>
#include <vector>

namespace foundation::storage::provider {

using EntryList = std::vector<FolderEntry>;

/// The entries with matching names, in the same order.
EntryList onlyMatching(EntryList entries, const WildcardPattern& pattern);

/// The names alone, in the order of the entries.
std::vector<std::u16string> namesOf(const EntryList& entries);

/// A listing that yields `entries`.
std::unique_ptr<IFolderEntryIterator> listingOf(EntryList entries);

} // namespace foundation::storage::provider
