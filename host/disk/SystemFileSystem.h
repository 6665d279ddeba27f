#pragma once

#include "host/disk/FileDescriptor.h"

namespace storage::host {

/// The name of the file system that a folder is on, if it shows the state of the system and keeps no files: "proc", "sysfs"
/// and the like. Reading there can have effects, and sizes mean nothing. A file system in memory keeps files.
/// @return a null pointer for a file system that keeps files
const char* systemFileSystemOf(const FileDescriptor& folder);

} // namespace storage::host
