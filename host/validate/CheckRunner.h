#pragma once

#include "host/process/CheckProcess.h"
#include "host/validate/kit/OperationTrace.h"
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
class CheckRunner {
public:
    /// @param plugin   path of the plug-in
    /// @param profile  the rules that apply to it
    /// @param seed     seed of the random numbers of every check
    /// @param limit    time limit of one check
    CheckRunner(std::string plugin, Profile profile, std::uint64_t seed, std::chrono::milliseconds limit)
        : plugin_(std::move(plugin)), profile_(profile), seed_(seed), limit_(limit) {}

    /// Throws unless the plug-in builds a provider and the provider can create a folder. Every check requires
    /// both.
    /// @throws PluginError, Interrupted
    void requireProvider() const;

    /// A running check. Owns its process.
    class Running {
    public:
        Running(const CheckRunner& runner, const Check& check);

        CheckProcess& process() { return process_; }

        // Like the functions of CheckProcess. The reason of a crash or hang also names the operations that
        // were in progress.
        CheckOutcome outcome(std::chrono::milliseconds limit) { return traced(process_.outcome(limit)); }
        CheckOutcome wait(std::chrono::milliseconds limit) { return traced(process_.wait(limit)); }

    private:
        CheckOutcome traced(CheckOutcome outcome) const;

        OperationTrace trace_; ///< created before the process, which shares its memory
        CheckProcess process_;
    };

    /// @throws std::system_error
    std::unique_ptr<Running> start(const Check& check) const;

    /// Starts a check and waits until it ends.
    /// @throws Interrupted
    CheckOutcome run(const Check& check) const { return start(check)->wait(limit_); }

    /// The same runner with another seed.
    CheckRunner withSeed(std::uint64_t seed) const { return {plugin_, profile_, seed, limit_}; }

private:
    std::string plugin_;
    Profile profile_;
    std::uint64_t seed_;
    std::chrono::milliseconds limit_;
};

} // namespace storage::host
