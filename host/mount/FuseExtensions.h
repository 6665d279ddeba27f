#pragma once

#include "host/mount/RequestContext.h"

#include <cstdint>

namespace storage::host {

// Features of the kernel's protocol that libfuse does not support:
//
// - FUSE_HANDLE_KILLPRIV_V2: the kernel leaves it to this program to clear set-ID bits when a file is written
//   to, truncated or gets another owner. Otherwise the kernel requests the attribute security.capability
//   before each write.
// - FUSE_STATX: stat(2) with the time of creation.
// - FUSE_TMPFILE: a file without a name.

/// Replaces the functions by which the session exchanges messages with the kernel. Call it once, before the
/// first request.
/// @throws std::bad_alloc
void extendSession(fuse_session* session);

/// Processes a request that libfuse does not support, or converts it for libfuse.
/// @return whether it was answered
bool processExtension(const RequestContext& context, const fuse_buf& request);

/// Whether a write clears the file's set-ID bits.
/// @param handle  the file handle of the request as set by `processExtension`
bool clearsSetIds(std::uint64_t handle) noexcept;

} // namespace storage::host
