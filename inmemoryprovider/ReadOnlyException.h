#pragma once

#include "inmemoryprovider/EntryException.h"

namespace storage::inmemoryprovider {

/// The entry at the path cannot be changed, because it is not writable.
class ReadOnlyException : public EntryException<ReadOnlyException> {
public:
    explicit ReadOnlyException(const InMemoryEntryPath& path) noexcept
        : EntryException(path, u" is read-only.") {}
};

} // namespace storage::inmemoryprovider
