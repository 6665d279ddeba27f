#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/Check.h"

#include <chrono>
#include <cstdint>
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

    /// @throws Interrupted
    CheckOutcome run(const Check& check) const;

private:
    std::string plugin_;
    Profile profile_;
    std::uint64_t seed_;
    std::chrono::milliseconds limit_;
};

} // namespace storage::host
