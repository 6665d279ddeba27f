#pragma once

#include "host/mount/StorageSpace.h"

#include <string>

namespace storage::host {

/// Refuses the import of a folder of the disk that does not fit into a storage, before anything is imported.
/// Unreadable entries do not count, because the import reports them.
/// @throws CommandError names the folder, its size and the limit
void requireRoomForImport(const StorageSpace& space, const std::string& folder);

} // namespace storage::host
