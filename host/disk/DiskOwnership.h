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
DiskOwner changeOwner(const FileDescriptor& entry, const DiskOwner& owner);

/// Removes the set-user-ID bit from `mode` if the users differ, the set-group-ID bit if the groups differ.
mode_t permissionsFor(mode_t mode, const DiskOwner& wanted, const DiskOwner& actual);

} // namespace storage::host
