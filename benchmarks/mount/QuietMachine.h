#pragma once

#include <chrono>

namespace storage::benchmark {

/// Waits until nobody else uses the processors. Where somebody always does, waiting comes to an end.
class QuietMachine {
public:
    /// @param patience  for all waits together
    explicit QuietMachine(std::chrono::steady_clock::duration patience) : patience_(patience) {}

    void await();

private:
    std::chrono::steady_clock::duration patience_;
};

} // namespace storage::benchmark
