#pragma once

#include "inmemoryprovider/EntryException.h"

namespace storage::inmemoryprovider {

/// No entry of the required kind exists at the path.
class EntryNotFoundException : public EntryException<EntryNotFoundException> {
public:
    explicit EntryNotFoundException(const InMemoryEntryPath& path) noexcept
        : EntryException(path, u" could not be found") {}
};

} // namespace storage::inmemoryprovider
