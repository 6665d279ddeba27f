#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace storage::stress {

/// How the calls of every operation ended. For one thread; tallies of several are added up.
class Tally {
public:
    Tally();

    void countSuccess(std::size_t operation) { ++rows_[operation].successes; }
    void countFailure(std::size_t operation) { ++rows_[operation].failures; }

    Tally& operator+=(const Tally& other);

    std::size_t total() const;

    /// @throws Fault  when an operation was never called, or one that is offered never succeeded: then the storm shows
    ///                nothing of it
    void requireEveryOperation() const;

    /// For each operation how many calls there were, and how many of them succeeded.
    std::string text() const;

private:
    struct Row {
        std::size_t successes = 0;
        std::size_t failures = 0;
    };

    std::vector<Row> rows_; ///< in the order of allOperations()
};

} // namespace storage::stress
