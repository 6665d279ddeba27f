#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/FolderEntry.h"

#include <memory>

namespace foundation::storage::provider {

/// A listing under way: while `hasNext`, `step`, then read `getEntry`.
///
/// Whoever was handed an iterator owns it. It must be destroyed before the library that made it is unloaded.
/// The order of the virtual operations, the destructor last, is part of the binary interface.
///
/// Thread safety: one iterator is for one thread at a time; clones may be used from different threads.
class QZFL_EXPORT IFolderEntryIterator {
public:
    /// The entry that the last `step` arrived at. Not allowed before the first `step`.
    /// @return a copy of it
    virtual FolderEntry getEntry() const = 0;

    /// Whether `step` has another entry to arrive at.
    /// @return false at the end
    virtual bool hasNext() const = 0;

    /// Moves to the next entry. Not allowed unless `hasNext`.
    virtual void step() = 0;

    /// An independent iterator that yields the entries this one has left. Its own `getEntry` is not allowed
    /// before its first `step`.
    /// @return the iterator; the caller's own
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
