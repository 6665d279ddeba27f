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

inline constexpr double withoutBudget = std::numeric_limits<double>::infinity();

inline double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times operation(0) to operation(count - 1), or as many of them as fit into the budget in seconds. The
/// clock is read after increasing numbers of operations, so that its cost is negligible.
template <typename Operation>
Timing measure(std::size_t count, double budget, Operation operation) {
    constexpr std::size_t longestRun = 4096;
    std::size_t done = 0;
    std::size_t run = 1;
    double seconds = 0;
    const auto start = std::chrono::steady_clock::now();
    while (done < count && seconds < budget) {
        const std::size_t end = std::min(count, done + run);
        for (; done < end; ++done) {
            operation(done);
        }
        seconds = secondsSince(start);
        run = std::min(run * 2, longestRun);
    }
    return {done, seconds};
}

} // namespace storage::benchmark
