#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What opening a stream does with the existing bytes. The values are part of the ABI; every value but 0
/// means `Keep`.
enum class ByteStreamContent : std::int32_t {
    Empty = 0, ///< the file is emptied by the opening itself
    Keep = 1,  ///< the bytes stay as they are
};

static_assert(static_cast<std::int32_t>(ByteStreamContent::Empty) == 0);
static_assert(static_cast<std::int32_t>(ByteStreamContent::Keep) == 1);

} // namespace foundation::storage::provider
