#include "host/mount/ImportSize.h"

#include "host/mount/StorageQuota.h"
#include "host/support/CommandError.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

namespace {

/// The sizes that files take in the storage: holes do not count, and hard links count once.
class ContentSizes {
public:
    std::uint64_t of(const std::filesystem::path& path) {
        constexpr std::uint64_t statusBlock = 512; // of st_blocks
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
            (status.st_nlink > 1 && !linked_.emplace(status.st_dev, status.st_ino).second)) {
            return 0;
        }
        return std::min(static_cast<std::uint64_t>(status.st_size),
                        static_cast<std::uint64_t>(status.st_blocks) * statusBlock);
    }

private:
    std::set<std::pair<dev_t, ino_t>> linked_;
};

std::uint64_t sizeBelow(const std::string& folder) {
    using std::filesystem::directory_options;
    ContentSizes sizes;
    std::uint64_t size = 0;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(folder, directory_options::skip_permission_denied,
                                                        error);
    while (!error && entry != std::filesystem::recursive_directory_iterator()) {
        size += bytesOfEntry + sizes.of(entry->path());
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
        throw CommandError(folder, "does not fit, so nothing was mounted: it requires " + inMebibytes(size) +
                                       ", but " + inMebibytes(available) + " are available, limited by " +
                                       space.limit());
    }
}

} // namespace storage::host
