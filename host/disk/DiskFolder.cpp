#include "host/disk/DiskFolder.h"

#include "host/support/CommandError.h"

#include <algorithm>
#include <cerrno>
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

std::unique_ptr<DIR, FolderCloser> openFolder(const std::string& path, DiskEntry::Links links) {
    const int flags = O_RDONLY | O_DIRECTORY | (links == DiskEntry::Links::Follow ? 0 : O_NOFOLLOW);
    const FileDescriptor folder(path, flags);
    const int copy = ::fcntl(folder.number(), F_DUPFD_CLOEXEC, 0);
    std::unique_ptr<DIR, FolderCloser> result(copy < 0 ? nullptr : ::fdopendir(copy));
    if (!result) {
        const int error = errno;
        ::close(copy);
        throw diskError(path, error);
    }
    return result;
}

} // namespace

std::vector<std::string> listDiskFolder(const std::string& path, DiskEntry::Links links) {
    const auto folder = openFolder(path, links);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throw diskError(path, errno);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string diskChild(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

std::string diskOperand(const std::string& word) {
    if (word.empty()) {
        throw CommandError("''", "an empty path");
    }
    if (word.find('\0') != std::string::npos) {
        throw CommandError(word, "a path on disk cannot contain NUL");
    }
    const std::size_t end = word.find_last_not_of('/');
    return end == std::string::npos ? "/" : word.substr(0, end + 1);
}

std::string diskName(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return name == "." || name == ".." ? std::string() : name;
}

} // namespace storage::host
