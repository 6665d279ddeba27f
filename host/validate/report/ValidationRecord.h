#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/Check.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace storage::host {

/// The results of a run. A value; it refers to the catalogue.
struct ValidationRecord {
    /// A selected check.
    struct CheckRun {
        const Check* check;
        CheckOutcome outcome;
        std::string replay; ///< the command line, quoted for a shell, that runs this check again
        enum class State {
            Checked,
            Excepted,   ///< the user has said that the storage cannot keep the rule
            NotReached, ///< the run was stopped before
        } state = State::Checked;
    };

    /// How many checks ended with each result.
    struct Totals {
        std::size_t passed = 0;
        std::size_t failed = 0;
        std::size_t crashed = 0;
        std::size_t hung = 0;
        std::size_t skipped = 0;

        void count(CheckOutcome::Result result);
        Totals& operator+=(const Totals& other);

        std::size_t all() const { return passed + failed + crashed + hung + skipped; }
        bool allKept() const { return failed + crashed + hung == 0; }

        /// "5 passed, 1 failed", without the results that no check ended with.
        std::string summary() const;
    };

    /// The checks of a group that were run.
    struct Group {
        const CheckGroup* group;
        std::vector<CheckRun> checks;

        Totals totals() const;
    };

    std::string plugin; ///< path
    Profile profile;
    std::uint64_t seed;
    std::size_t leftOut; ///< number of selected rules that the profile does not have
    std::vector<Group> groups;
    std::string stopped{}; ///< why the run has ended early, for example "stopped after 10 hangs"

    Totals totals() const;
    std::size_t notReached() const;

    /// The numbers of the excepted rules, for example "4.4, 13.9"; empty when there are none.
    std::string excepted() const;
};

} // namespace storage::host
