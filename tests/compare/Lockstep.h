#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/Exclusions.h"
#include "tests/compare/Outcome.h"
#include "tests/compare/WorkerProcess.h"

#include <optional>
#include <string>
#include <vector>

namespace syscalls {

/// The results of both sides for one call. A value.
struct Answers {
    Outcome reference;
    Outcome tested;

    bool agree() const { return reference == tested; }
};

/// Makes the same calls in two folders, which are empty at first, with one process for each.
///
/// Timestamps that no call has set are compared by epoch. The clock advances between two epochs, so each
/// timestamp belongs to exactly one of them.
///
/// Owns the processes. Not thread-safe.
class Lockstep {
public:
    struct Roots {
        std::string reference;
        std::string tested;
    };

    /// @throws std::system_error
    Lockstep(const Roots& roots, const Exclusions& exclusions);

    /// Returns the results of the calls. There are fewer if the tested process did not make them all.
    /// @throws WorkerProcess::Failure  of the reference process
    std::vector<Answers> make(const Calls& calls);

    void beginEpoch();

private:
    std::optional<WorkerProcess> reference_; ///< set when both folders are empty
    std::optional<WorkerProcess> tested_;
};

} // namespace syscalls
