#pragma once

#include "inmemoryprovider/EntryException.h"

namespace storage::inmemoryprovider {

/// An entry exists at the path of a new entry.
class EntryExistsException : public EntryException<EntryExistsException> {
public:
    explicit EntryExistsException(const InMemoryEntryPath& path) noexcept
        : EntryException(path, u" already exists") {}
};

} // namespace storage::inmemoryprovider
