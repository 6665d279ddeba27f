#include "Listing.h"

#include <utility>

namespace provider_template {

Listing::Listing(std::vector<FolderEntry> entries)
    : entries_(std::make_shared<const std::vector<FolderEntry>>(std::move(entries))) {}

Listing::FolderEntry Listing::getEntry() const {
    return (*entries_)[steps_ - 1];
}

bool Listing::hasNext() const {
    return steps_ < entries_->size();
}

void Listing::step() {
    ++steps_;
}

} // namespace provider_template
