#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace storage::benchmark {

/// The duration of a number of operations. Timings can be added.
struct Timing {
    std::uint64_t operations = 0;
    double seconds = 0;

    Timing& operator+=(const Timing& other) {
        operations += other.operations;
        seconds += other.seconds;
        return *this;
    }
};

inline double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times operation(0) to operation(count - 1), or as many of them as fit into the budget in seconds. The
/// clock is read after increasing numbers of operations, so that its cost is negligible.
template <typename Count, typename Operation>
Timing measure(Count count, double budget, Operation operation) {
    constexpr Count longestRun = 4096;
    Count done = 0;
    Count run = 1;
    double seconds = 0;
    const auto start = std::chrono::steady_clock::now();
    while (done < count && seconds < budget) {
        const Count end = std::min<Count>(count, done + run);
        for (; done < end; ++done) {
            operation(done);
        }
        seconds = secondsSince(start);
        run = std::min<Count>(run * 2, longestRun);
    }
    return {done, seconds};
}

/// Times operation(0) to operation(count - 1).
template <typename Count, typename Operation>
Timing measure(Count count, Operation operation) {
    return measure(count, std::numeric_limits<double>::infinity(), operation);
}

} // namespace storage::benchmark
