#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <sys/stat.h>

namespace storage::host {

/// The status of an open entry.
/// @throws CommandError
struct stat statusOf(const FileDescriptor& entry);

/// Gives an entry to a user and a group, as far as the system allows.
/// @param entry  may be open with O_PATH, as for a symbolic link
/// @return the owner that the entry has then
/// @throws CommandError
DiskOwner giveTo(const FileDescriptor& entry, const DiskOwner& owner);

/// The permission bits that an entry of `actual` may have: nobody else's set-user-ID and set-group-ID.
mode_t permissionsFor(mode_t mode, const DiskOwner& wanted, const DiskOwner& actual);

} // namespace storage::host
