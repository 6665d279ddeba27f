#pragma once

#include "host/FailureHandling.h"
#include "host/UsageError.h"
#include "host/mount/MountOptions.h"

#include <optional>
#include <string>

namespace storage::host {

/// What the program was asked to do. A value.
struct ProgramOptions {
    std::string plugin;                ///< path of the plug-in
    std::optional<std::string> script; ///< path of the script; none for the standard input or a terminal
    FailureHandling failureHandling = FailureHandling::Stop;
    std::optional<MountOptions> mount;  ///< to be mounted instead of running lines
    std::optional<std::string> message; ///< to be printed instead of running anything

    /// @throws UsageError
    static ProgramOptions parse(int argc, const char* const* argv);
};

} // namespace storage::host
