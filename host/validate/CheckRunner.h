#pragma once

#include "host/process/CheckProcess.h"
#include "host/validate/kit/OperationTrace.h"
#include "host/validate/rules/Check.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace storage::host {

/// Checks one plug-in against rules, each in a process of its own, so that this program never loads it.
///
/// A value. Thread safety: this program must have no other thread while a check runs.
class CheckRunner {
public:
    /// @param plugin   path of the plug-in
    /// @param profile  the rules that apply to it
    /// @param seed     of the random numbers of every check
    /// @param limit    time limit of one check
    CheckRunner(std::string plugin, Profile profile, std::uint64_t seed, std::chrono::milliseconds limit)
        : plugin_(std::move(plugin)), profile_(profile), seed_(seed), limit_(limit) {}

    /// Requires a provider of the plug-in, without which no rule can be checked.
    /// @throws PluginError, Interrupted
    void requireProvider() const;

    /// A check that runs. Owns its process.
    class Running {
    public:
        Running(const CheckRunner& runner, const Check& check);

        CheckProcess& process() { return process_; }

        // As CheckProcess. The reason of a crash or a hang names the operations that were in progress.
        CheckOutcome outcome(std::chrono::milliseconds limit) { return traced(process_.outcome(limit)); }
        CheckOutcome wait(std::chrono::milliseconds limit) { return traced(process_.wait(limit)); }

    private:
        CheckOutcome traced(CheckOutcome outcome) const;

        OperationTrace trace_; ///< made before the process, which shares it
        CheckProcess process_;
    };

    /// @throws std::system_error
    std::unique_ptr<Running> start(const Check& check) const;

    /// Starts a check and waits for it.
    /// @throws Interrupted
    CheckOutcome run(const Check& check) const { return start(check)->wait(limit_); }

    /// The same with other random numbers.
    CheckRunner withSeed(std::uint64_t seed) const { return {plugin_, profile_, seed, limit_}; }

private:
    std::string plugin_;
    Profile profile_;
    std::uint64_t seed_;
    std::chrono::milliseconds limit_;
};

} // namespace storage::host
