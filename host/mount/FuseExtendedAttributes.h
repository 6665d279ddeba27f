#pragma once

#include "host/mount/RequestContext.h"

namespace storage::host {

/// Adds the functions for getxattr(2), setxattr(2), listxattr(2) and removexattr(2). Without them, libfuse
/// replies ENOSYS to the first request of each kind, and the kernel makes no more.
void addExtendedAttributes(fuse_lowlevel_ops& table);

} // namespace storage::host
