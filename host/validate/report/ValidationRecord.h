#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/Check.h"

#include <array>
#include <cstddef>
#include <cstdint>
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
    /// A selected check.
    struct CheckRun {
        const Check* check;
        CheckOutcome outcome;
        std::string replay; ///< the command line, quoted for a shell, that runs this check again
        enum class State {
            Checked,
            Excepted,   ///< excluded by the user, because the storage cannot keep the rule
            NotReached, ///< the run was stopped before this check
        } state = State::Checked;
    };

    /// How many checks ended with each result.
    struct Totals {
        std::array<std::size_t, resultWords.size()> counts{}; ///< indexed by the result

        std::size_t of(CheckOutcome::Result result) const { return counts[static_cast<std::size_t>(result)]; }
        std::size_t all() const;
        bool allKept() const;
        void add(const Totals& other);

        /// "5 passed, 1 failed", without the results that no check ended with.
        std::string summary() const;
    };

    /// The checks of one group.
    struct Group {
        const CheckGroup* group;
        std::vector<CheckRun> checks;

        Totals totals() const;
    };

    std::string plugin; ///< path
    Profile profile;
    std::uint64_t seed;
    std::size_t leftOut; ///< number of selected rules that the profile excludes
    std::vector<Group> groups;
    std::string stopped{}; ///< why the run ended early, for example "stopped after 10 hangs"; empty otherwise

    Totals totals() const;

    /// The numbers of the rules in this state.
    std::vector<std::string> numbersOf(CheckRun::State state) const;
};

} // namespace storage::host
