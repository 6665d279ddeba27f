#pragma once

#include "inmemoryprovider/EntryException.h"

namespace storage::inmemoryprovider {

/// Something stands at the path where a new entry was to go.
class EntryExistsException : public EntryException<EntryExistsException> {
public:
    explicit EntryExistsException(const InMemoryEntryPath& path) noexcept
        : EntryException(path, u" already exists") {}
};

} // namespace storage::inmemoryprovider
