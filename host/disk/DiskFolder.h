#pragma once

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskPath.h"

#include <string>
#include <vector>

namespace storage::host {

/// The names in a folder on disk, sorted bytewise, without "." and "..".
/// @throws CommandError
std::vector<std::string> listDiskFolder(const std::string& path, DiskEntry::Links links);

/// The same for an open folder, even if its path has changed.
/// @throws CommandError
std::vector<std::string> listDiskFolder(const FileDescriptor& folder);

/// The target of a symbolic link in an open folder.
/// @throws CommandError, also when the entry is no longer a symbolic link
std::string readDiskLink(const FileDescriptor& folder, const std::string& name);

} // namespace storage::host
