#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// A change of an entry that a provider reports.
enum class StorageEventKind : std::int32_t {
    Created = 0, ///< it was created
    Changed = 1, ///< its bytes or attributes changed
    Removed = 2, ///< it was removed
    Moved = 3,   ///< it was moved to another location
};

} // namespace foundation::storage::provider
