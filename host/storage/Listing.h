#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/ListingRange.h"

#include <memory>
#include <vector>

namespace storage::host {

using foundation::storage::provider::readEntries;

/// The entries of a listing, sorted by the code units of their names.
std::vector<foundation::storage::provider::FolderEntry>
sortedEntries(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> listing);

} // namespace storage::host
