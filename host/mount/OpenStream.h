#pragma once

#include "hostapi/storage/provider/ByteStream.h"

#include <cstdint>
#include <memory>

namespace storage::host {

/// A stream of the storage with what the mount knows of it. A value that can be moved.
struct OpenStream {
    enum class Access { ReadOnly, ReadWrite };

    std::unique_ptr<foundation::storage::provider::ByteStream> stream;
    Access access = Access::ReadOnly;
    std::uint64_t position = 0; ///< where the stream stands, bytes

    bool serves(Access wanted) const noexcept {
        return stream && (access == Access::ReadWrite || wanted == Access::ReadOnly);
    }
};

} // namespace storage::host
