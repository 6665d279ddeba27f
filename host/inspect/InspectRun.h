#pragma once

#include "host/console/Console.h"
#include "host/inspect/InspectOptions.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Prints the description of a plug-in.
/// @param plugin  path of the plug-in
/// @return Failure also if the plug-in builds no provider
/// @throws PluginError, OutputError
ExitStatus runInspect(const std::string& plugin, const InspectOptions& options, Console& console);

} // namespace storage::host
