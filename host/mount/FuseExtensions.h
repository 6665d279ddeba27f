#pragma once

#include "host/mount/RequestContext.h"

#include <cstdint>

namespace storage::host {

// What the kernel's protocol has and libfuse does not pass on:
//
// - FUSE_HANDLE_KILLPRIV_V2: set-ID bits go when a file is written to, truncated or gets another owner, and the kernel
//   leaves that to this program. Without it, the kernel would ask for the attribute security.capability before each write.
// - FUSE_STATX: stat(2) with the time of creation.
// - FUSE_TMPFILE: a file without a name.

/// Makes the session reply to the kernel by functions of this file. Once, before the first request.
/// @throws std::bad_alloc
void extendSession(fuse_session* session);

/// Processes a request that libfuse does not know, or prepares it for libfuse.
/// @return whether it was answered
bool processExtension(const RequestContext& context, const fuse_buf& request);

/// Whether a write takes away the file's set-ID bits.
/// @param handle  the file handle of the request as `processExtension` has prepared it
bool clearsSetIds(std::uint64_t handle) noexcept;

} // namespace storage::host
