#include "host/mount/ImportSize.h"

#include "host/support/CommandError.h"

#include <cstdint>
#include <filesystem>

namespace storage::host {

namespace {

/// Bytes that an imported entry takes in a provider and in the mount without its content: a little more than was measured.
constexpr std::uint64_t sizeOfEntry = 1024;

std::uint64_t sizeBelow(const std::string& folder) {
    using std::filesystem::directory_options;
    std::uint64_t size = 0;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(folder, directory_options::skip_permission_denied,
                                                        error);
    while (!error && entry != std::filesystem::recursive_directory_iterator()) {
        std::error_code vanished;
        const bool isFile = entry->symlink_status(vanished).type() == std::filesystem::file_type::regular;
        const std::uint64_t content = isFile ? entry->file_size(vanished) : 0;
        size += sizeOfEntry + (vanished ? 0 : content);
        entry.increment(error);
    }
    return size;
}

std::string inMebibytes(std::uint64_t bytes) {
    return std::to_string(bytes >> 20U) + " MiB";
}

} // namespace

void requireRoomForImport(const StorageSpace& space, const std::string& folder) {
    const std::uint64_t size = sizeBelow(folder);
    const std::uint64_t available = space.info().available;
    if (size > available) {
        throw CommandError(folder, "does not fit, so nothing was mounted: it takes " + inMebibytes(size) +
                                       ", and " + space.limit() + " leaves " + inMebibytes(available));
    }
}

} // namespace storage::host
