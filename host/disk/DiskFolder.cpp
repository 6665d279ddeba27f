#include "host/disk/DiskFolder.h"

#include "host/support/CommandError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace storage::host {

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Opens a reader with its own file position, so that `folder` stays unchanged.
std::unique_ptr<DIR, FolderCloser> readerOf(const FileDescriptor& folder) {
    const int number = ::openat(folder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::unique_ptr<DIR, FolderCloser> result(number < 0 ? nullptr : ::fdopendir(number));
    if (!result) {
        const int error = errno;
        ::close(number);
        throw diskError(folder.path(), error);
    }
    return result;
}

} // namespace

std::vector<std::string> listDiskFolder(const std::string& path, DiskEntry::Links links) {
    const int flags = O_RDONLY | O_DIRECTORY | (links == DiskEntry::Links::Follow ? 0 : O_NOFOLLOW);
    return listDiskFolder(FileDescriptor(path, flags));
}

std::vector<std::string> listDiskFolder(const FileDescriptor& folder) {
    const auto reader = readerOf(folder);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(reader.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throw diskError(folder.path(), errno);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string readDiskLink(const FileDescriptor& folder, const std::string& name) {
    std::array<char, PATH_MAX> target{};
    const ssize_t size = ::readlinkat(folder.number(), name.c_str(), target.data(), target.size());
    if (size < 0) {
        throw diskError(diskChild(folder.path(), name), errno);
    }
    return {target.data(), static_cast<std::size_t>(size)};
}

} // namespace storage::host
