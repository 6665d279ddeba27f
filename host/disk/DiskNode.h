#pragma once

#include "host/disk/WritableFolder.h"

#include <functional>
#include <string>

namespace storage::host {

/// Creates an entry with this name in the folder. Returns a negative number and sets errno on failure.
using MakeDiskNode = std::function<int(int folder, const char* name)>;

/// Sets the attributes of the entry with this name in the folder.
using FinishDiskNode = std::function<void(const FileDescriptor& folder, const std::string& name)>;

/// Creates an entry that has no content to be written: a symbolic link, a fifo, a device or a hard link. The
/// entry has a temporary name like that of a `TemporaryDiskFile` until its attributes are set. It is then
/// renamed to the final name, which replaces an existing entry.
///
/// Such an entry cannot be locked. Another program may therefore mistake it for one that a killed program
/// left behind, and remove it. It is then created again.
/// @param name  the final name in the folder
/// @return 0, or the errno of `make`
/// @throws CommandError naming the final path when another step fails; exceptions of `finish`
int makeDiskNode(WritableFolder& folder, const std::string& name, const MakeDiskNode& make,
                 const FinishDiskNode& finish);

} // namespace storage::host
