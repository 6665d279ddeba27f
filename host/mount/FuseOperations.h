#pragma once

#include "host/mount/FuseVersion.h"

namespace storage::host {

/// What the kernel asks of a mounted storage, request by request. The user data of the session is a
/// `MountedStorage`.
const fuse_lowlevel_ops& fuseOperations();

} // namespace storage::host
