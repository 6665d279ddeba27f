#pragma once

#include <chrono>

namespace storage::benchmark {

/// Waits until the processors are idle, within a limit.
class QuietMachine {
public:
    /// @param patience  limit for all waits together
    explicit QuietMachine(std::chrono::steady_clock::duration patience) : patience_(patience) {}

    void await();

private:
    std::chrono::steady_clock::duration patience_;
};

} // namespace storage::benchmark
