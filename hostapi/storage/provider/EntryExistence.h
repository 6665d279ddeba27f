#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What stands at a location.
enum class EntryExistence : std::int32_t {
    Missing = 0,
    File = 1,
    Folder = 2,
};

} // namespace foundation::storage::provider
