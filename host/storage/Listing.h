#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"

#include <memory>
#include <vector>

namespace storage::host {

/// What a listing has left, in its own order.
std::vector<foundation::storage::provider::FolderEntry>
readEntries(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> listing);

/// The entries of a listing in the order of their names' code units.
std::vector<foundation::storage::provider::FolderEntry>
sortedEntries(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> listing);

} // namespace storage::host
