#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <cstddef>
#include <string_view>

namespace storage::host {

// Transfers carry the attributes of the user's programs (user.*), and file capabilities if the process is the superuser's. Other
// extended attributes belong to the disk's file system or to its security policy.

bool isCarriedXattr(std::string_view name);

/// The extended attributes of an open file or folder that transfers carry. None where the file system has none.
/// @throws CommandError
Xattrs readXattrs(const FileDescriptor& entry);

/// Adds extended attributes to an open file or folder.
/// @return how many the file system does not take
std::size_t addXattrs(const FileDescriptor& entry, const Xattrs& xattrs);

/// Removes those that transfers carry and that are not in `kept`. What cannot be removed stays.
void removeOtherXattrs(const FileDescriptor& entry, const Xattrs& kept);

} // namespace storage::host
