#pragma once

#include "host/process/CheckProcess.h"
#include "host/validate/rules/Check.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace storage::host {

/// Checks one plug-in against rules. Each check runs in its own process, so this process never loads the
/// plug-in.
///
/// A value. Thread safety: this process must be single-threaded while a check runs, because each check forks.
struct CheckRunner {
    std::string plugin;              ///< path
    Profile profile;                 ///< the rules that apply to the plug-in
    std::uint64_t seed;              ///< of the random numbers of every check
    std::chrono::milliseconds limit; ///< time limit of one check

    /// Throws unless the plug-in builds a provider and the provider can create a folder. Every check requires
    /// both.
    /// @throws PluginError, Interrupted
    void requireProvider() const;

    /// Starts a check. The reason of a crash or hang names the operations that were in progress.
    /// @throws std::system_error
    std::unique_ptr<CheckProcess> start(const Check& check) const;

    /// Starts a check and waits until it ends.
    /// @throws Interrupted
    CheckOutcome run(const Check& check) const { return start(check)->wait(); }
};

} // namespace storage::host
