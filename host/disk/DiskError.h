#pragma once

#include "host/support/CommandError.h"

#include <string>

namespace storage::host {

/// The failure of a system call on a path of the disk.
/// @param path   path on disk, of any bytes
/// @param error  the errno of the call
CommandError diskError(const std::string& path, int error);

} // namespace storage::host
