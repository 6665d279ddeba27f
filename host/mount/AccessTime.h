#pragma once

#include "host/mount/Inode.h"

namespace storage::host {

/// An entry is being read: sets its access time if that is not later than its other times, or a day old, as file systems
/// mounted with relatime do. Requires the inode's guard and attributes that are known.
void noteAccess(Inode& inode);

} // namespace storage::host
