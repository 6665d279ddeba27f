#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace storage::stress {

/// Counts how the calls of each operation ended. Not thread-safe; the tallies of several threads are added.
class Tally {
public:
    Tally();

    void countSuccess(std::size_t operation) { ++rows_[operation].successes; }
    void countFailure(std::size_t operation) { ++rows_[operation].failures; }

    Tally& operator+=(const Tally& other);

    std::size_t total() const;

    /// @throws Violation when an operation was never called, or is offered and never succeeded: the run would
    ///     not have tested it
    void requireEveryOperation() const;

    /// The number of calls and of successful calls, for each operation.
    std::string text() const;

private:
    struct Row {
        std::size_t successes = 0;
        std::size_t failures = 0;
    };

    std::vector<Row> rows_; ///< in the order of allOperations()
};

} // namespace storage::stress
