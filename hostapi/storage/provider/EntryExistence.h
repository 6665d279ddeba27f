#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// The kind of the entry at a location.
enum class EntryExistence : std::int32_t {
    Missing = 0, ///< nothing
    File = 1,    ///< a file
    Folder = 2,  ///< a folder
};

} // namespace foundation::storage::provider
