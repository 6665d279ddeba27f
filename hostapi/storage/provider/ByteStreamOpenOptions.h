#pragma once

#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ByteStreamContent.h"
#include "hostapi/storage/provider/ByteStreamExistence.h"

#include <cstddef>
#include <cstdint>

namespace foundation::storage::provider {

/// How a stream is to be opened. Order and size of the fields are part of the binary interface.
struct ByteStreamOpenOptions {
    std::int32_t hint = 0; ///< the host's own; providers may ignore it
    ByteStreamExistence existence = ByteStreamExistence::CreateIfMissing; ///< whether a missing file is made
    ByteStreamContent content = ByteStreamContent::Keep;                  ///< whether the file is emptied
    ByteStreamAppend append = ByteStreamAppend::WriteAtPosition;          ///< where writes go
};

static_assert(sizeof(ByteStreamOpenOptions) == 16);
static_assert(offsetof(ByteStreamOpenOptions, hint) == 0);
static_assert(offsetof(ByteStreamOpenOptions, existence) == 4);
static_assert(offsetof(ByteStreamOpenOptions, content) == 8);
static_assert(offsetof(ByteStreamOpenOptions, append) == 12);

} // namespace foundation::storage::provider
