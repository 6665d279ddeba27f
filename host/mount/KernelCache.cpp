#include "host/mount/KernelCache.h"

namespace storage::host {

void invalidateAttributesOf(fuse_session* session, fuse_ino_t number) {
    constexpr off_t noContent = -1;
    fuse_lowlevel_notify_inval_inode(session, number, noContent,
                                     0); // fails if the kernel does not know the inode
}

} // namespace storage::host
