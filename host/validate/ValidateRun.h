#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"
#include "host/validate/ValidateOptions.h"
#include "host/validate/rules/CheckGroup.h"

#include <span>
#include <string>

namespace storage::host {

/// Holds a plug-in to the rules of a catalogue, or lists them.
/// @param plugin  path of the plug-in
/// @throws UsageError, PluginError, Interrupted, OutputError
ExitStatus runValidate(const std::string& plugin, const ValidateOptions& options,
                       std::span<const CheckGroup> catalogue, Console& console);

} // namespace storage::host
