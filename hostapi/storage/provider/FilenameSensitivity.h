#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// Whether names that differ only in letter case are different names.
enum class FilenameSensitivity : std::int32_t {
    CaseInsensitive = 0,
    CaseSensitive = 1,
};

} // namespace foundation::storage::provider
