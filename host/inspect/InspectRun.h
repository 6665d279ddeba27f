#pragma once

#include "host/console/Console.h"
#include "host/inspect/InspectOptions.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Shows what a plug-in is made of.
/// @param plugin  path of the plug-in
/// @return Failure when it gives no provider, too
/// @throws PluginError, OutputError
ExitStatus runInspect(const std::string& plugin, const InspectOptions& options, Console& console);

} // namespace storage::host
