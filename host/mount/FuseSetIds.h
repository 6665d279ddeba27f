#pragma once

#include "host/mount/FuseRequest.h"

namespace storage::host {

// What a request does to the set-ID bits of a file. The kernel leaves that to this program.

/// How a write by the caller of the request changes them.
AttributeChange::SetIds setIdsAfterWrite(fuse_req_t request, FileInode& file);

/// How a request for attributes changes them.
/// @param wanted  FUSE_SET_ATTR_*
/// @throws ErrnoError EPERM
AttributeChange::SetIds setIdsAfterChange(fuse_req_t request, Inode& inode, int wanted);

} // namespace storage::host
