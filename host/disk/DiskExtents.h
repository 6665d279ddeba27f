#pragma once

#include "host/disk/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace storage::host {

constexpr std::size_t holeUnit = 4096; ///< bytes; the usual block size of file systems

/// A range of a file that is not a hole. A value.
struct DiskExtent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// Finds the next data from `offset` on, and sets the file position to its beginning. On a file system
/// without SEEK_DATA the whole file is data.
/// @param size  of the file
/// @return nothing if no data follows
std::optional<DiskExtent> nextExtent(const FileDescriptor& file, std::uint64_t offset, std::uint64_t size);

/// Whether a file has a hole. On a file system without SEEK_DATA no file has one. Sets the file
/// position to the first data.
bool hasHole(const FileDescriptor& file, std::uint64_t size);

} // namespace storage::host
