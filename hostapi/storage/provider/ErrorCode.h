#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// Why a provider operation failed. The values are part of the ABI.
enum class ErrorCode : std::int32_t {
    FolderNotEmpty = 0, ///< the folder to be removed is not empty
    ReadOnly = 2,       ///< the entry, or a folder that must change, is read-only
    AlreadyExists = 3,  ///< an entry exists at the new location, or the location is in the moved folder
    NotFound = 4,       ///< the entry, or its parent folder, does not exist; or it is of the other kind
    NotOffered = 5,     ///< this kind of storage does not offer the operation at all
};

static_assert(static_cast<std::int32_t>(ErrorCode::FolderNotEmpty) == 0);
static_assert(static_cast<std::int32_t>(ErrorCode::ReadOnly) == 2);
static_assert(static_cast<std::int32_t>(ErrorCode::AlreadyExists) == 3);
static_assert(static_cast<std::int32_t>(ErrorCode::NotFound) == 4);
static_assert(static_cast<std::int32_t>(ErrorCode::NotOffered) == 5);

} // namespace foundation::storage::provider
