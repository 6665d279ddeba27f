#pragma once

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskPath.h"

#include <string>
#include <vector>

namespace storage::host {

/// The names in a folder of the disk, sorted by their bytes, without "." and "..".
/// @throws CommandError
std::vector<std::string> listDiskFolder(const std::string& path, DiskEntry::Links links);

/// The same of an open folder, whatever has become of its path.
/// @throws CommandError
std::vector<std::string> listDiskFolder(const FileDescriptor& folder);

} // namespace storage::host
