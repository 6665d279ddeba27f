#pragma once

#include <cstddef>

namespace storage::host {

/// The bytes that an import, export or comparison holds of a file at a time.
inline constexpr std::size_t transferBufferSize = std::size_t{256} * 1024;

} // namespace storage::host
