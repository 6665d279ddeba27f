#pragma once

#include "hostapi/storage/provider/FolderEntry.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace faults {

/// A listing of given entries. Breaks no rule; derived classes may.
class ListingOfEntries : public foundation::storage::provider::IFolderEntryIterator {
public:
    using Entries = std::vector<foundation::storage::provider::FolderEntry>;

    explicit ListingOfEntries(Entries entries) : entries_(std::move(entries)) {}

    foundation::storage::provider::FolderEntry getEntry() const override { return entries_[next_ - 1]; }
    bool hasNext() const override { return next_ < entries_.size(); }
    void step() override { ++next_; }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<ListingOfEntries>(*this);
    }

protected:
    Entries entries_;
    mutable std::size_t next_ = 0;
};

} // namespace faults
