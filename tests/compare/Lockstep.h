#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/Exclusions.h"
#include "tests/compare/Outcome.h"
#include "tests/compare/WorkerProcess.h"

#include <optional>
#include <string>
#include <vector>

namespace syscalls {

/// What both sides said to a call. A value.
struct Answers {
    Outcome reference;
    Outcome tested;

    bool agree() const { return reference == tested; }
};

/// Makes the same calls in two folders, both of which are empty at first: one process for each.
///
/// Times that calls do not set are compared by epochs: between two of them the system's clock advances, so that it is certain
/// to which of them a time belongs.
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

    /// The answers to the calls; fewer when a process has not made them all.
    std::vector<Answers> make(const Calls& calls);

    void beginEpoch();

private:
    std::optional<WorkerProcess> reference_; ///< once both folders are empty
    std::optional<WorkerProcess> tested_;
};

} // namespace syscalls
