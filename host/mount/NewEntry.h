#pragma once

#include "host/mount/Inode.h"
#include "host/mount/Owner.h"

#include <string>
#include <sys/types.h>

namespace storage::host {

/// The properties of an entry that a program creates. A value.
struct NewEntry {
    Inode::Kind kind = Inode::Kind::File;
    mode_t permissions = 0;
    Owner owner = {};
    std::string target = {}; ///< of a symbolic link
    dev_t device = 0;        ///< of a device
};

} // namespace storage::host
