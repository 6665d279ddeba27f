#pragma once

#include "host/support/ReportFormat.h"
#include "host/validate/rules/Check.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// The options of `validate`. A value.
struct ValidateOptions {
    enum class Task { Check, List, ListAsMarkdown };

    Task task = Task::Check;
    std::optional<std::string> plugin; ///< as given by the user; none selects the plug-in of this program
    Profile profile = Profile::AnyProvider;
    std::vector<std::string> only;         ///< patterns of rule numbers or names; none for all rules
    std::vector<std::string> except;       ///< patterns of rules that are not checked
    std::optional<std::string> exceptFrom; ///< file of such patterns, each with a reason
    ReportFormat format = ReportFormat::Text;
    std::optional<std::string> junitFile;
    std::uint64_t seed = 0;
    std::chrono::milliseconds timeLimit{60'000};       ///< of each check
    std::optional<std::chrono::milliseconds> runLimit; ///< of the whole run
    std::size_t jobs = 1;                              ///< number of checks that run concurrently
    std::size_t repeat = 1; ///< number of runs of each check, each with another seed
    bool failFast = false;  ///< the first check that fails, crashes or hangs ends the run

    /// The command line, quoted for a shell, that repeats one check of a run with the same options.
    /// @param round  number of earlier runs of the check
    std::string replayCommand(const Check& check, std::size_t round = 0) const;
};

} // namespace storage::host
