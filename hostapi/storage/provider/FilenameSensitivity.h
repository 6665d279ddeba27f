#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// Whether names that differ only in case are different names.
enum class FilenameSensitivity : std::int32_t {
    CaseInsensitive = 0, ///< they are one name
    CaseSensitive = 1,   ///< they are two names
};

} // namespace foundation::storage::provider
