#pragma once

#include "host/inspect/InspectOptions.h"
#include "host/mount/MountHelperCall.h"
#include "host/mount/MountOptions.h"
#include "host/plugin/NamedPlugin.h"
#include "host/shell/Shell.h"
#include "host/support/UsageError.h"
#include "host/validate/ValidateOptions.h"

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// What the program was asked to do. A value.
struct ProgramOptions {
    std::string plugin;                ///< path of the only plug-in, or the first one
    std::vector<NamedPlugin> plugins;  ///< of the session, at least one
    std::optional<std::string> script; ///< path of the script; none for the standard input or a terminal
    std::optional<std::string> lines;  ///< to be run instead of a script, each with a newline behind it
    FailureHandling failureHandling = FailureHandling::Stop;
    std::optional<MountOptions> mount;       ///< to be mounted instead of running lines
    std::optional<std::string> unmount;      ///< mount point of a mount to be ended instead
    std::optional<ValidateOptions> validate; ///< to be held to the rules instead
    std::optional<InspectOptions> inspect;   ///< to be looked at instead
    std::optional<std::string> message;      ///< to be printed instead of running anything

    /// @throws UsageError
    static ProgramOptions parse(int argc, const char* const* argv);

private:
    static ProgramOptions parse(const MountHelperCall& call);
};

} // namespace storage::host
