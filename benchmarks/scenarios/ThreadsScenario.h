#pragma once

#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

/// Two threads on one store: what they do in the same time together, against what each does alone. The gain is
/// the rate of both together over the mean of the rates of each alone: 2 when neither hinders the other, 1 when
/// they take turns, less when they lose time over that.
class ThreadsScenario final : public Scenario {
public:
    /// @param seconds  each of the measurements goes on for
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
