#pragma once

#include "host/console/Console.h"
#include "host/mount/MountOptions.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Mounts a new storage and serves it until it is unmounted or a signal ends it. Reports failures to the
/// console, but does not catch `OutputError`.
/// @param plugin  path of the storage's plug-in
ExitStatus runMount(const std::string& plugin, const MountOptions& options, Console& console);

} // namespace storage::host
