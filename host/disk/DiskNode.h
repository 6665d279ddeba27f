#pragma once

#include "host/disk/WritableFolder.h"

#include <functional>
#include <string>

namespace storage::host {

/// Makes the entry under a name in the folder that the descriptor is of. Returns a negative number and sets errno when it fails.
using MakeDiskNode = std::function<int(int folder, const char* name)>;

/// Gives the entry of that name in the folder its attributes.
using FinishDiskNode = std::function<void(const FileDescriptor& folder, const std::string& name)>;

/// Makes an entry that needs no time to be filled: a symbolic link, a fifo, a device, one more name of a file. It has a temporary
/// name, like that of a `TemporaryDiskFile`, until it has its attributes, and takes the final name then, replacing what has it.
///
/// There is nothing to lock, so another program may take the entry for one that a killed program left behind, and remove it. It is
/// made again then.
/// @param name  the final name in the folder
/// @return 0, or the error number of `make`
/// @throws CommandError naming the final path when something else fails; what `finish` throws
int makeDiskNode(WritableFolder& folder, const std::string& name, const MakeDiskNode& make,
                 const FinishDiskNode& finish);

} // namespace storage::host
