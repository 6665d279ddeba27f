#pragma once

#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/AnswerChecks.h"
#include "tests/stress/threads/ListingShape.h"

#include <memory>
#include <string>

namespace storage::stress {

/// A listing of the test. Its entries are recorded when it is opened. It must return the same entries later,
/// even if the folder has changed or the provider was destroyed.
///
/// Owns the iterator and a copy of the remaining entries. Externally synchronized.
class OpenListing {
public:
    /// @throws Violation
    OpenListing(std::unique_ptr<provider::IFolderEntryIterator> iterator, const std::u16string& folder,
                const ListingShape& shape);

    bool hasNext() const { return iterator_->hasNext(); }

    /// @throws Violation
    void step();

    /// Clones the iterator and the remaining entries.
    OpenListing clone() const;

private:
    OpenListing(std::unique_ptr<provider::IFolderEntryIterator> iterator, Entries left);

    std::unique_ptr<provider::IFolderEntryIterator> iterator_;
    Entries left_; ///< in reverse order
};

} // namespace storage::stress
