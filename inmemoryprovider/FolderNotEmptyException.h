#pragma once

#include "inmemoryprovider/EntryException.h"

namespace storage::inmemoryprovider {

/// The folder at the path cannot be removed or replaced, because it has entries.
class FolderNotEmptyException : public EntryException<FolderNotEmptyException> {
public:
    explicit FolderNotEmptyException(const InMemoryEntryPath& path) noexcept
        : EntryException(path, u" is not empty") {}
};

} // namespace storage::inmemoryprovider
