#include "host/disk/DiskExtents.h"

#include "host/support/CommandError.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace storage::host {

namespace {

void seek(const FileDescriptor& file, std::uint64_t offset) {
    if (::lseek(file.number(), static_cast<off_t>(offset), SEEK_SET) < 0) {
        throw diskError(file.path(), errno);
    }
}

} // namespace

std::optional<DiskExtent> nextExtent(const FileDescriptor& file, std::uint64_t offset, std::uint64_t size) {
    if (offset >= size) {
        return std::nullopt;
    }
    const off_t data = ::lseek(file.number(), static_cast<off_t>(offset), SEEK_DATA);
    if (data < 0 && errno == ENXIO) {
        return std::nullopt;
    }
    const off_t hole = data < 0 ? -1 : ::lseek(file.number(), data, SEEK_HOLE);
    if (hole < 0) {
        seek(file, offset);
        return DiskExtent{offset, size};
    }
    seek(file, static_cast<std::uint64_t>(data));
    return DiskExtent{static_cast<std::uint64_t>(data), std::min(static_cast<std::uint64_t>(hole), size)};
}

bool hasHole(const FileDescriptor& file, std::uint64_t size) {
    const auto first = nextExtent(file, 0, size);
    return size > 0 && (!first || first->begin > 0 || first->end < size);
}

} // namespace storage::host
