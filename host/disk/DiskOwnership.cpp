#include "host/disk/DiskOwnership.h"

#include "host/support/CommandError.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace storage::host {

struct stat statusOf(const FileDescriptor& entry) {
    struct stat status {};
    if (::fstat(entry.number(), &status) != 0) {
        throw diskError(entry.path(), errno);
    }
    return status;
}

DiskOwner changeOwner(const FileDescriptor& entry, const DiskOwner& owner) {
    constexpr auto unchanged = static_cast<uid_t>(-1);
    const auto ownerOf = [](const struct stat& status) { return DiskOwner{status.st_uid, status.st_gid}; };
    const DiskOwner before = ownerOf(statusOf(entry));
    if (before == owner) {
        return owner;
    }
    // An ordinary user cannot change the owner, but can change the group to one of the user's own.
    if (::fchownat(entry.number(), "", owner.user, owner.group, AT_EMPTY_PATH) != 0 &&
        ::fchownat(entry.number(), "", unchanged, owner.group, AT_EMPTY_PATH) != 0) {
        return before;
    }
    return ownerOf(statusOf(entry));
}

mode_t permissionsFor(mode_t mode, const DiskOwner& wanted, const DiskOwner& actual) {
    if (wanted.user != actual.user) {
        mode &= ~static_cast<mode_t>(S_ISUID);
    }
    if (wanted.group != actual.group) {
        mode &= ~static_cast<mode_t>(S_ISGID);
    }
    return mode;
}

} // namespace storage::host
