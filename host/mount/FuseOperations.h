#pragma once

#include "host/mount/RequestContext.h"

namespace storage::host {

/// The kernel's requests to a mounted storage, one function each, without those for extended attributes. The user data of the
/// session is a `RequestContext`.
const fuse_lowlevel_ops& fuseOperations();

} // namespace storage::host
