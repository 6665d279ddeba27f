#pragma once

#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "tests/stress/threads/AnswerChecks.h"
#include "tests/stress/threads/ListingShape.h"

#include <memory>
#include <string>

namespace storage::stress {

/// A listing that the storm holds, checked as a whole when it is taken over: what is yielded later has to be the same,
/// whatever has become of the folder and of the provider.
///
/// Owns the iterator and, as a copy, what it still has to yield. For one thread at a time.
class OpenListing {
public:
    /// @throws Fault
    OpenListing(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> iterator,
                const std::u16string& folder, const ListingShape& shape);

    bool hasNext() const { return iterator_->hasNext(); }

    /// @throws Fault
    void step();

    /// A listing that has the same entries left.
    OpenListing clone() const;

private:
    OpenListing(std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> iterator, Entries left);

    std::unique_ptr<foundation::storage::provider::IFolderEntryIterator> iterator_;
    Entries left_; ///< the next one last
};

} // namespace storage::stress
