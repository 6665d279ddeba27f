#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/Check.h"
#include "host/validate/rules/Profile.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace storage::host {

/// Holds one plug-in to rules, each in a process of its own, so that this program never loads it.
///
/// A value. Thread safety: this program must have no other thread while a check runs.
class CheckRunner {
public:
    /// @param plugin   path of the plug-in
    /// @param profile  what it is held to
    /// @param seed     where the random numbers of every check begin
    /// @param limit    how long one check may take
    CheckRunner(std::string plugin, Profile profile, std::uint64_t seed, std::chrono::milliseconds limit)
        : plugin_(std::move(plugin)), profile_(profile), seed_(seed), limit_(limit) {}

    /// What no rule could be checked without.
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
