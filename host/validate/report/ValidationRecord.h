#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/CheckSelection.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace storage::host {

/// How reports express a result. A value.
struct ResultWords {
    CheckOutcome::Result result;
    const char* name;    ///< in JSON
    const char* counted; ///< after a number
    const char* marked;  ///< before a rule
};

/// In the order in which reports list the counts.
inline constexpr std::array<ResultWords, 5> resultWords{{
    {CheckOutcome::Result::Pass, "pass", "passed", "passed"},
    {CheckOutcome::Result::Fail, "fail", "failed", "FAILED"},
    {CheckOutcome::Result::Crash, "crash", "crashed", "CRASHED"},
    {CheckOutcome::Result::Hang, "hang", "hung", "HUNG"},
    {CheckOutcome::Result::Skip, "skip", "skipped", "skipped"},
}};

const ResultWords& wordsFor(CheckOutcome::Result result);

/// The results of a run. A value; it refers to the catalogue.
struct ValidationRecord {
    /// A selected rule and the result of its check.
    struct CheckRun {
        CheckSelection::Rule rule;
        CheckOutcome outcome;
        std::string replay{};   ///< the command line, quoted for a shell, that runs this check again
        bool isPending = false; ///< not checked yet, or the run was stopped before this check
    };
    using CheckRuns = std::span<const CheckRun>;

    /// How many checks ended with each result.
    struct Totals {
        explicit Totals(CheckRuns checks);

        std::size_t all;
        std::array<std::size_t, resultWords.size()> counts{}; ///< indexed by the result

        std::size_t of(CheckOutcome::Result result) const { return counts[static_cast<std::size_t>(result)]; }

        /// "5 passed, 1 failed", without the results that no check ended with.
        std::string summary() const;
    };

    std::string plugin; ///< path
    Profile profile;
    std::uint64_t seed;
    std::size_t leftOut;          ///< number of selected rules that the profile excludes
    std::vector<CheckRun> checks; ///< in the order of the catalogue
    std::string stopped{}; ///< why the run ended early, for example "stopped after 10 hangs"; empty otherwise

    /// The checks of each group.
    std::vector<CheckRuns> groups() const;

    /// Whether every check ran, or is excepted, and found no broken rule.
    bool succeeded() const;
};

} // namespace storage::host
