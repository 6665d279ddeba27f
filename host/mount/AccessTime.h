#pragma once

#include "host/mount/Inode.h"

namespace storage::host {

/// Sets the access time of an entry that is read, as with the mount option relatime: if that time is not
/// later than the entry's other times, or is a day old. Precondition: the inode's guard is held and its
/// attributes are known.
void noteAccess(Inode& inode);

} // namespace storage::host
