#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What a move or copy does when something stands at its destination. The numbers are part of the binary
/// interface; providers treat every number that has no name here like `ReplaceExisting`.
enum class ReplacementPolicy : std::int32_t {
    RefuseExisting = 0,     ///< an existing file or folder makes the operation fail
    ReplaceExisting = 1,    ///< an existing file, or an empty folder, gives way
    RefuseExistingFile = 4, ///< an existing file makes the operation fail, an empty folder gives way
};

static_assert(static_cast<std::int32_t>(ReplacementPolicy::RefuseExisting) == 0);
static_assert(static_cast<std::int32_t>(ReplacementPolicy::ReplaceExisting) == 1);
static_assert(static_cast<std::int32_t>(ReplacementPolicy::RefuseExistingFile) == 4);

} // namespace foundation::storage::provider
