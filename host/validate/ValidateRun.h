#pragma once

#include "host/Console.h"
#include "host/ExitStatus.h"
#include "host/validate/CheckGroup.h"
#include "host/validate/ValidateOptions.h"

#include <span>
#include <string>

namespace storage::host {

/// Holds a plug-in to the rules of a catalogue, or lists them.
/// @param plugin  path of the plug-in
/// @throws UsageError, PluginError, Interrupted, OutputError
ExitStatus runValidate(const std::string& plugin, const ValidateOptions& options,
                       std::span<const CheckGroup> catalogue, Console& console);

} // namespace storage::host
