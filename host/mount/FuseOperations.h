#pragma once

#include "host/mount/RequestContext.h"

namespace storage::host {

/// The functions that process the kernel's requests to a mounted storage, one per kind of request. Those for
/// extended attributes are in `addExtendedAttributes`. The user data of the session is a `RequestContext`.
const fuse_lowlevel_ops& fuseOperations();

} // namespace storage::host
