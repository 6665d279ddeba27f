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

/// The parsed command line. A value.
struct ProgramOptions {
    std::string program = "qzstorage"; ///< with the subcommand, as in hints
    std::string plugin;                ///< path of the only plug-in, or of the first one
    std::vector<NamedPlugin> plugins;  ///< of the session, at least one
    std::optional<std::string> script; ///< path of the script; without one, lines come from standard input
    std::optional<std::string> lines;  ///< the lines of -c, each ending in a newline
    FailureHandling failureHandling = FailureHandling::Stop;
    std::optional<MountOptions> mount;       ///< of the subcommand `mount`
    std::optional<std::string> unmount;      ///< mount point, of the subcommand `unmount`
    std::optional<ValidateOptions> validate; ///< of the subcommand `validate`
    std::optional<InspectOptions> inspect;   ///< of the subcommand `inspect`
    std::optional<std::string> message;      ///< printed instead of running anything, such as the help

    /// @throws UsageError with a hint
    static ProgramOptions parse(int argc, const char* const* argv);

    /// The same error with a hint to the help of a program or subcommand.
    static UsageError withHint(const UsageError& error, const std::string& program);

private:
    static ProgramOptions parse(const MountHelperCall& call);
};

} // namespace storage::host
