#pragma once

#include <cstdint>

namespace foundation::storage::provider {

/// What opening a stream does when the file is missing. The values are part of the ABI; every value but 1
/// means `CreateIfMissing`.
enum class ByteStreamExistence : std::int32_t {
    CreateIfMissing = 0, ///< a missing file is created, empty
    MustExist = 1,       ///< a missing file makes the opening fail
};

static_assert(static_cast<std::int32_t>(ByteStreamExistence::CreateIfMissing) == 0);
static_assert(static_cast<std::int32_t>(ByteStreamExistence::MustExist) == 1);

} // namespace foundation::storage::provider
