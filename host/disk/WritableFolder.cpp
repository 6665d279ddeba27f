#include "host/disk/WritableFolder.h"

#include "host/disk/DiskEntry.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

WritableFolder::WritableFolder(FileDescriptor folder, ReadOnly readOnly)
    : folder_(std::move(folder)), readOnly_(readOnly) {}

WritableFolder::~WritableFolder() {
    if (modeAtEnd_) {
        ::fchmod(folder_.number(), *modeAtEnd_);
    }
}

int WritableFolder::change(const std::function<int(int folder)>& call) {
    int result = call(folder_.number());
    while (result < 0 && errno == EACCES && readOnly_ == ReadOnly::Lift && makeWritable()) {
        result = call(folder_.number());
    }
    return result;
}

void WritableFolder::setMode() {
    if (!modeAtEnd_) {
        return;
    }
    if ((*modeAtEnd_ & S_IWUSR) == 0) {
        lock(); // waits for another program that requires the write permission
    }
    if (::fchmod(folder_.number(), *std::exchange(modeAtEnd_, std::nullopt)) != 0) {
        throw diskError(folder_.path(), errno);
    }
}

/// @return whether to retry; if not, errno holds the reason of the failure
bool WritableFolder::makeWritable() {
    const bool isNewlyLocked = lock();
    struct stat status {};
    if (::fstat(folder_.number(), &status) == 0) {
        const mode_t mode = status.st_mode & permissionBits;
        if ((mode & S_IWUSR) != 0 && isNewlyLocked) {
            return true; // another program changed the permission at the same time
        }
        if ((mode & S_IWUSR) == 0 && ::fchmod(folder_.number(), mode | S_IWUSR) == 0) {
            modeAtEnd_ = modeAtEnd_.value_or(mode);
            return true;
        }
    }
    errno = EACCES;
    return false;
}

/// Waits for the lock. Does nothing if the file system does not support locks.
/// @return false if this object had locked the folder before
bool WritableFolder::lock() {
    if (isLocked_) {
        return false;
    }
    while (::flock(folder_.number(), LOCK_EX) != 0 && errno == EINTR) {
        Interruption::check();
    }
    isLocked_ = true;
    return true;
}

} // namespace storage::host
