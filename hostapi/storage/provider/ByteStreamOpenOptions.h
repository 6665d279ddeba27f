#pragma once

#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ByteStreamContent.h"
#include "hostapi/storage/provider/ByteStreamExistence.h"

#include <cstddef>
#include <cstdint>

namespace foundation::storage::provider {

/// How a stream is opened. Order and size of the fields are part of the ABI.
///
/// The functions return common combinations. No option requires that a file does not exist yet: use
/// `openNewFile`.
struct ByteStreamOpenOptions {
    std::int32_t hint = 0; ///< for the host's own use; has no visible effect
    ByteStreamExistence existence = ByteStreamExistence::CreateIfMissing; ///< if the file is missing
    ByteStreamContent content = ByteStreamContent::Keep;                  ///< whether the file is emptied
    ByteStreamAppend append = ByteStreamAppend::WriteAtPosition;          ///< where writes go

    /// Reads and writes an existing file; a missing one is `NotFound`.
    /// @return the options
    static constexpr ByteStreamOpenOptions readWriteExisting() noexcept {
        return {0, ByteStreamExistence::MustExist, ByteStreamContent::Keep,
                ByteStreamAppend::WriteAtPosition};
    }

    /// Writes a file from scratch: a missing one is created, an existing one is emptied by the opening.
    /// @return the options
    static constexpr ByteStreamOpenOptions createOrEmpty() noexcept {
        return {0, ByteStreamExistence::CreateIfMissing, ByteStreamContent::Empty,
                ByteStreamAppend::WriteAtPosition};
    }

    /// Appends to a file: a missing one is created, each write goes to the end.
    /// @return the options
    static constexpr ByteStreamOpenOptions createOrAppend() noexcept {
        return {0, ByteStreamExistence::CreateIfMissing, ByteStreamContent::Keep,
                ByteStreamAppend::AppendAtEnd};
    }
};

static_assert(sizeof(ByteStreamOpenOptions) == 16);
static_assert(offsetof(ByteStreamOpenOptions, hint) == 0);
static_assert(offsetof(ByteStreamOpenOptions, existence) == 4);
static_assert(offsetof(ByteStreamOpenOptions, content) == 8);
static_assert(offsetof(ByteStreamOpenOptions, append) == 12);

} // namespace foundation::storage::provider
