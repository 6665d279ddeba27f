#pragma once

#include "host/mount/RequestContext.h"

namespace storage::host {

/// Adds the functions for getxattr(2), setxattr(2), listxattr(2) and removexattr(2). Without them the kernel makes one request of
/// each kind, and none once it has got ENOSYS.
void addExtendedAttributes(fuse_lowlevel_ops& table);

} // namespace storage::host
