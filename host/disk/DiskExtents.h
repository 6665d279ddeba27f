#pragma once

#include "host/disk/FileDescriptor.h"

#include <cstdint>
#include <optional>

namespace storage::host {

/// Bytes of a file that are no hole. A value.
struct DiskExtent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// The next bytes of a file from `offset` on that are no hole; the file's position is at their beginning then. A file system
/// that cannot say has no holes.
/// @param size  of the file
/// @return nothing if all the rest is a hole
std::optional<DiskExtent> nextExtent(const FileDescriptor& file, std::uint64_t offset, std::uint64_t size);

} // namespace storage::host
