#include "host/mount/KernelCache.h"

#include <limits>
#include <sys/types.h>

namespace storage::host {

void invalidateAttributesOf(fuse_session* session, fuse_ino_t number) {
    constexpr off_t noContent = -1;
    // Fails if the kernel has not cached the inode.
    fuse_lowlevel_notify_inval_inode(session, number, noContent, 0);
}

void writeBack(fuse_session* session, fuse_ino_t number, PageRange pages) {
    constexpr std::uint64_t largestPage = std::numeric_limits<off_t>::max() / pageSize;
    constexpr off_t toTheEnd = 0;
    if (pages.first <= largestPage) {
        fuse_lowlevel_notify_inval_inode(
            session, number, static_cast<off_t>(pages.first * pageSize),
            pages.end > largestPage ? toTheEnd : static_cast<off_t>(pages.count() * pageSize));
    }
}

} // namespace storage::host
