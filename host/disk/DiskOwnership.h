#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <sys/stat.h>

namespace storage::host {

/// The status of an open entry.
/// @throws CommandError
struct stat statusOf(const FileDescriptor& entry);

/// Changes the owner and group of an entry, as far as the system permits.
/// @param entry  may be open with O_PATH, as for a symbolic link
/// @return the resulting owner and group
/// @throws CommandError
DiskOwner giveTo(const FileDescriptor& entry, const DiskOwner& owner);

/// The permission bits for an entry whose owner could not be set: without set-user-ID and set-group-ID for
/// `actual` where it differs from `wanted`.
mode_t permissionsFor(mode_t mode, const DiskOwner& wanted, const DiskOwner& actual);

} // namespace storage::host
