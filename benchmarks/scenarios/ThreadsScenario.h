#pragma once

#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

/// Runs two threads on one store, together and each alone. The gain is the total rate of both together
/// divided by the mean of the rates alone. It is 2 without contention, 1 if the threads take turns, and less
/// if contention costs additional time.
class ThreadsScenario final : public Scenario {
public:
    /// @param seconds  duration of each measurement
    explicit ThreadsScenario(double seconds);

    std::string name() const override { return "threads"; }
    bool suits(const StoreKind& kind) const override {
        return kind.can(Ability::ChangeTreeInThreads) || kind.can(Ability::Read);
    }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    double seconds_;
};

} // namespace storage::benchmark
