#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <cstddef>
#include <string_view>

namespace storage::host {

// Transfers copy the user.* attributes, and file capabilities if the process runs as root. Other
// extended attributes belong to the file system or to the security policy.

bool isCarriedXattr(std::string_view name);

/// The extended attributes of an open file or folder that transfers copy; none if the file system does not
/// support them.
/// @throws CommandError
Xattrs readXattrs(const FileDescriptor& entry);

/// Sets extended attributes of an open file or folder.
/// @return the number of attributes that the file system rejected
std::size_t addXattrs(const FileDescriptor& entry, const Xattrs& xattrs);

/// Removes the attributes that transfers copy, except those in `kept`. Failures are ignored.
void removeOtherXattrs(const FileDescriptor& entry, const Xattrs& kept);

} // namespace storage::host
