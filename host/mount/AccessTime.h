#pragma once

#include "host/mount/Inode.h"

namespace storage::host {

/// Sets the access time of an entry that is read, as with the mount option relatime: only if it is not later
/// than the times of modification and change, or is a day old. Precondition: the inode's guard is held and
/// its attributes are known.
void noteAccess(Inode& inode);

} // namespace storage::host
