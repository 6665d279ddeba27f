#pragma once

#include "host/console/Console.h"
#include "host/mount/MountOptions.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Mounts a storage of its own and serves it until somebody unmounts it or a signal asks for the end. Failures are
/// reported to the console, but `OutputError` passes.
/// @param plugin  path of the storage's plug-in
ExitStatus runMount(const std::string& plugin, const MountOptions& options, Console& console);

} // namespace storage::host
