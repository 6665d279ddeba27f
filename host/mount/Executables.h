#pragma once

#include "host/console/Console.h"
#include "host/mount/MountedStorage.h"

#include <string>
#include <vector>

namespace storage::host {

// Storages do not keep which files can be run. A mount knows it, and carries it from the disk to the storage's files and
// back, so that what is imported, built and exported can be run everywhere.

/// Makes the files executable that are so on the disk.
/// @param folder  of the disk, whose content was imported to the root of the storage
void adoptExecutables(MountedStorage& storage, const std::string& folder);

/// Makes exported files executable for everybody who can read them. Reports failures to the console.
/// @param paths   as `MountedStorage::executables` gives them
/// @param folder  of the disk, to which the root of the storage was exported
void makeExecutable(const std::vector<std::string>& paths, const std::string& folder, Console& console);

} // namespace storage::host
