#include "tests/stress/threads/OpenListing.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"

#include <algorithm>
#include <utility>

namespace storage::stress {

using provider::IFolderEntryIterator;

OpenListing::OpenListing(std::unique_ptr<IFolderEntryIterator> iterator, const std::u16string& folder,
                         const ListingShape& shape)
    : iterator_(std::move(iterator)) {
    requireThat(iterator_ != nullptr, "no listing was returned");
    for (const auto reader = iterator_->clone(); reader->hasNext();) {
        reader->step();
        left_.push_back(reader->getEntry());
    }
    checkEntries(folder, shape, left_);
    std::reverse(left_.begin(), left_.end());
}

OpenListing::OpenListing(std::unique_ptr<IFolderEntryIterator> iterator, Entries left)
    : iterator_(std::move(iterator)), left_(std::move(left)) {}

void OpenListing::step() {
    iterator_->step();
    requireThat(!left_.empty() && iterator_->getEntry() == left_.back(), "a listing is not a snapshot");
    left_.pop_back();
    requireThat(iterator_->hasNext() == !left_.empty(), "a listing is longer or shorter than its snapshot");
}

OpenListing OpenListing::clone() const {
    return {iterator_->clone(), left_};
}

} // namespace storage::stress
