#pragma once

// The version of libfuse's interface that this program uses.
#define FUSE_USE_VERSION 314

#include <fuse_lowlevel.h>

namespace storage::host {

/// The kernel's requests to a mounted storage, one function each. The session's user data is the `MountedStorage`.
const fuse_lowlevel_ops& fuseOperations();

} // namespace storage::host
