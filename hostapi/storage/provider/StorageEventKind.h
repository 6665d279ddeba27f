#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What a provider that publishes events reports of an entry.
enum class StorageEventKind : std::int32_t {
    Created = 0,
    Changed = 1,
    Removed = 2,
    Moved = 3,
};

} // namespace foundation::storage::provider
