#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What a move or copy does when an entry exists at its destination. The values are part of the ABI;
/// providers treat every value without a name here as `ReplaceExisting`.
enum class ReplacementPolicy : std::int32_t {
    RefuseExisting = 0,     ///< an existing file or folder makes the operation fail
    ReplaceExisting = 1,    ///< an existing file, or an empty folder, is replaced
    RefuseExistingFile = 4, ///< an existing file makes the operation fail, an empty folder is replaced
};

static_assert(static_cast<std::int32_t>(ReplacementPolicy::RefuseExisting) == 0);
static_assert(static_cast<std::int32_t>(ReplacementPolicy::ReplaceExisting) == 1);
static_assert(static_cast<std::int32_t>(ReplacementPolicy::RefuseExistingFile) == 4);

} // namespace foundation::storage::provider
