#pragma once

#include "hostapi/storage/iostream/ByteStreamDevice.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>

namespace storage::host {

using provider::ByteStreamDevice;

/// Size of the buffers for copying and comparing, in bytes.
inline constexpr std::size_t transferBufferSize = std::size_t{256} * 1024;

} // namespace storage::host
