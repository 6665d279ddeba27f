#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// Where the writes of a stream go. The values are part of the ABI; every value but 0 means
/// `WriteAtPosition`.
enum class ByteStreamAppend : std::int32_t {
    AppendAtEnd = 0,     ///< each write goes to the end of the file, regardless of the position
    WriteAtPosition = 1, ///< each write goes to the stream's position
};

static_assert(static_cast<std::int32_t>(ByteStreamAppend::AppendAtEnd) == 0);
static_assert(static_cast<std::int32_t>(ByteStreamAppend::WriteAtPosition) == 1);

} // namespace foundation::storage::provider
