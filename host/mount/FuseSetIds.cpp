#include "host/mount/FuseSetIds.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <sys/stat.h>
#include <vector>

namespace storage::host {

namespace {

using SetIds = AttributeChange::SetIds;

/// Reads the additional groups from /proc. Does not find them if the process has ended.
bool isCallerIn(fuse_req_t request, gid_t group) {
    constexpr int usualCount = 32;
    std::vector<gid_t> groups(usualCount);
    int count = fuse_req_getgroups(request, usualCount, groups.data());
    if (count > usualCount) {
        groups.resize(static_cast<std::size_t>(count));
        count = std::min(count, fuse_req_getgroups(request, count, groups.data()));
    }
    groups.resize(static_cast<std::size_t>(std::max(count, 0)));
    return fuse_req_ctx(request)->gid == group || std::ranges::find(groups, group) != groups.end();
}

/// Queries the groups of the caller only if they matter.
SetIds clearedByCaller(fuse_req_t request, const struct stat& status) {
    const bool dependsOnGroup = (status.st_mode & (S_ISGID | S_IXGRP)) == S_ISGID;
    return !dependsOnGroup || fuse_req_ctx(request)->uid == 0 || isCallerIn(request, status.st_gid)
               ? SetIds::ClearedByMember
               : SetIds::ClearedByOther;
}

/// The changes in the kernel's request for chown(2) with neither user nor group. Without writeback caching,
/// the request for a file is the same as the one before fallocate(2), so the bits stay. Folders keep theirs.
std::optional<int> requestOfNothing(const Inode& inode) {
    return inode.isFile()     ? std::optional(FUSE_SET_ATTR_CTIME)
           : inode.isFolder() ? std::nullopt
                              : std::optional(0);
}

} // namespace

SetIds setIdsAfterWrite(fuse_req_t request, FileInode& file) {
    return clearedByCaller(request, storageOf(request).status(file));
}

SetIds setIdsAfterChange(fuse_req_t request, Inode& inode, int wanted) {
    const bool isChownOfNothing = wanted == requestOfNothing(inode);
    if (!isChownOfNothing && (wanted & FUSE_SET_ATTR_KILL_SUID) == 0) { // both bits, in spite of its name
        return SetIds::Kept;
    }
    const struct stat status = storageOf(request).status(inode);
    const SetIds setIds = clearedByCaller(request, status);
    const uid_t user = fuse_req_ctx(request)->uid;
    const bool isOwner = user == 0 || user == status.st_uid;
    if (isChownOfNothing && !isOwner &&
        MountedAttributes::withSetIds(status.st_mode, setIds) != status.st_mode) {
        throw ErrnoError(EPERM);
    }
    return setIds;
}

} // namespace storage::host
