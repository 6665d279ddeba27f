#include "host/disk/WritableFolder.h"

#include "host/disk/DiskEntry.h"
#include "host/support/CommandError.h"

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
        lock(); // of another program that has made it writable for itself
    }
    if (::fchmod(folder_.number(), *std::exchange(modeAtEnd_, std::nullopt)) != 0) {
        throw diskError(folder_.path(), errno);
    }
}

/// @return whether the change may be tried again; if not, errno says why it was refused
bool WritableFolder::makeWritable() {
    const bool isNewlyLocked = lock();
    struct stat status {};
    if (::fstat(folder_.number(), &status) == 0) {
        const mode_t mode = status.st_mode & permissionBits;
        if ((mode & S_IWUSR) != 0 && isNewlyLocked) {
            return true; // another program had just taken the permission away or given it back
        }
        if ((mode & S_IWUSR) == 0 && ::fchmod(folder_.number(), mode | S_IWUSR) == 0) {
            modeAtEnd_ = modeAtEnd_.value_or(mode);
            return true;
        }
    }
    errno = EACCES;
    return false;
}

/// Waits for the lock. Where the file system has none, nothing is locked.
/// @return whether the folder was not locked by this object before
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
