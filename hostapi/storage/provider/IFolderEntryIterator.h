#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/FolderEntry.h"

#include <memory>

namespace foundation::storage::provider {

/// A listing in progress: while `hasNext`, call `step`, then `getEntry`.
///
/// The caller owns the iterator. It must be destroyed before the library that made it is unloaded. The order
/// of the virtual operations, the destructor last, is part of the ABI.
///
/// Thread safety: one iterator must be externally synchronized; clones may be used by different threads.
class QZFL_EXPORT IFolderEntryIterator {
public:
    /// The entry at which the last `step` arrived.
    /// @pre `step` was called
    /// @return a copy of it
    virtual FolderEntry getEntry() const = 0;

    /// Whether there is another entry to `step` to.
    /// @return false at the end
    virtual bool hasNext() const = 0;

    /// Moves to the next entry.
    /// @pre `hasNext` returns true
    virtual void step() = 0;

    /// An independent iterator over the remaining entries. Its `getEntry` requires a `step` first.
    /// @return the iterator, owned by the caller
    virtual std::unique_ptr<IFolderEntryIterator> clone() const = 0;

    virtual ~IFolderEntryIterator();

protected:
    IFolderEntryIterator() = default;
    /// For `clone`.
    IFolderEntryIterator(const IFolderEntryIterator&) = default;
    /// For derived classes.
    /// @return this iterator
    IFolderEntryIterator& operator=(const IFolderEntryIterator&) = default;
};

} // namespace foundation::storage::provider
