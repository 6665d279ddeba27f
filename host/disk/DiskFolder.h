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

/// What a symbolic link in an open folder contains.
/// @throws CommandError, also when it is another entry by now
std::string readDiskLink(const FileDescriptor& folder, const std::string& name);

} // namespace storage::host
