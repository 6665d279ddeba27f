#include "host/disk/TemporaryWriteAccess.h"

#include "host/disk/DiskEntry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::host {

TemporaryWriteAccess::TemporaryWriteAccess(const std::string& path) : path_(path) {
    struct stat status {};
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 || ::stat(path.c_str(), &status) != 0) {
        return;
    }
    const mode_t before = status.st_mode & permissionBits;
    if (::chmod(path.c_str(), before | S_IWUSR) == 0) {
        before_ = before;
    }
}

TemporaryWriteAccess::~TemporaryWriteAccess() {
    if (before_) {
        ::chmod(path_.c_str(), *before_);
    }
}

} // namespace storage::host
