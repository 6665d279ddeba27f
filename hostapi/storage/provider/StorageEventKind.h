#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// A change of an entry that a provider reports.
enum class StorageEventKind : std::int32_t {
    Created = 0, ///< it is new
    Changed = 1, ///< its bytes or attributes are others
    Removed = 2, ///< it is gone
    Moved = 3,   ///< it is at another location
};

} // namespace foundation::storage::provider
