#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/ListingRange.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <vector>

namespace storage::host {

using provider::readEntries;

/// The entries of a listing, sorted by the code units of their names.
std::vector<provider::FolderEntry> sortedEntries(std::unique_ptr<provider::IFolderEntryIterator> listing);

} // namespace storage::host
