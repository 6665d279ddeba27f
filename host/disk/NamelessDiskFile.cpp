#include "host/disk/NamelessDiskFile.h"

#include "host/disk/DiskPath.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Private until the file is complete. Its final owner may be another user.
constexpr unsigned modeUntilNamed = 0600;

} // namespace

std::optional<NamelessDiskFile> NamelessDiskFile::create(WritableFolder& folder, const std::string& name) {
    const int created = folder.change(
        [](int in) { return ::openat(in, ".", O_RDWR | O_TMPFILE | O_CLOEXEC, modeUntilNamed); });
    if (created < 0) {
        return std::nullopt;
    }
    return NamelessDiskFile(folder, name,
                            FileDescriptor::adopt(created, diskChild(folder.descriptor().path(), name)));
}

/// For ordinary users, linkat(2) accepts only the path of the descriptor, not the descriptor itself.
int NamelessDiskFile::moveIntoPlace() {
    file_.duplicate().close(); // reports delayed write errors
    const int named = folder_.change([this](int in) {
        if (::linkat(file_.number(), "", in, name_.c_str(), AT_EMPTY_PATH) == 0) {
            return 0;
        }
        if (errno != ENOENT) {
            return -1;
        }
        const std::string own = "/proc/self/fd/" + std::to_string(file_.number());
        return ::linkat(AT_FDCWD, own.c_str(), in, name_.c_str(), AT_SYMLINK_FOLLOW);
    });
    return named == 0 ? 0 : errno;
}

} // namespace storage::host
