#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"
#include "host/validate/ValidateOptions.h"
#include "host/validate/rules/Check.h"

#include <span>
#include <string>

namespace storage::host {

/// Checks a plug-in against the rules of a catalogue, or prints the rules.
/// @param plugin  path of the plug-in
/// @throws UsageError, CommandError, PluginError, Interrupted, OutputError
ExitStatus runValidate(const std::string& plugin, const ValidateOptions& options,
                       std::span<const CheckGroup> catalogue, Console& console);

} // namespace storage::host
