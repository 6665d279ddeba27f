#include "hostapi/storage/provider/defaults/VectorFolderEntryIterator.h"

#include <utility>

namespace foundation::storage::provider {

VectorFolderEntryIterator::VectorFolderEntryIterator(std::vector<FolderEntry> entries)
    : entries_(std::make_shared<const std::vector<FolderEntry>>(std::move(entries))) {}

FolderEntry VectorFolderEntryIterator::getEntry() const {
    return (*entries_)[steps_ - 1];
}

bool VectorFolderEntryIterator::hasNext() const {
    return steps_ < entries_->size();
}

void VectorFolderEntryIterator::step() {
    ++steps_;
}

} // namespace foundation::storage::provider
