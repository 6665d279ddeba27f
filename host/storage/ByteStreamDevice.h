#pragma once

#include "hostapi/storage/iostream/ByteStreamDevice.h"

#include <cstddef>

namespace storage::host {

using foundation::storage::provider::ByteStreamDevice;

/// Bytes that are copied or compared at a time.
inline constexpr std::size_t transferBufferSize = std::size_t{256} * 1024;

} // namespace storage::host
