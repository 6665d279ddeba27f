#pragma once

#include "host/disk/FileDescriptor.h"

namespace storage::host {

/// The name of the folder's file system if it is a pseudo file system: "proc", "sysfs" and the like. Reading
/// there can have side effects, and sizes are meaningless. A tmpfs is not one of them.
/// @return a null pointer for a file system that stores files
const char* systemFileSystemOf(const FileDescriptor& folder);

} // namespace storage::host
