#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstdint>
#include <memory>

namespace storage::host {

/// A stream of the provider, its access mode and its position. A move-only value.
struct OpenStream {
    enum class Access { ReadOnly, ReadWrite };

    std::unique_ptr<provider::ByteStream> stream;
    Access access = Access::ReadOnly;
    std::uint64_t position = 0; ///< bytes

    bool serves(Access wanted) const noexcept {
        return stream && (access == Access::ReadWrite || wanted == Access::ReadOnly);
    }
};

} // namespace storage::host
