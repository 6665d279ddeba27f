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
    /// A copy of the entry that the last `step` arrived at. Not allowed before the first `step`.
    virtual FolderEntry getEntry() const = 0;

    /// Whether `step` has another entry to arrive at.
    virtual bool hasNext() const = 0;

    /// Moves to the next entry. Not allowed unless `hasNext`.
    virtual void step() = 0;

    /// An independent iterator that yields the entries this one has left. Its own `getEntry` is not allowed
    /// before its first `step`.
    virtual std::unique_ptr<IFolderEntryIterator> clone() const = 0;

    virtual ~IFolderEntryIterator();

protected:
    IFolderEntryIterator() = default;
    IFolderEntryIterator(const IFolderEntryIterator&) = default;
    IFolderEntryIterator& operator=(const IFolderEntryIterator&) = default;
};

} // namespace foundation::storage::provider
