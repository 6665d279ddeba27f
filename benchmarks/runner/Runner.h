#pragma once

#include "benchmarks/results/Repetition.h"
#include "benchmarks/runner/BenchmarkOptions.h"
#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/stores/StoreKind.h"
#include "benchmarks/system/TmpfsFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Runs all repetitions, each in its own process. The repetitions of the stores are interleaved, and each
/// round of a scenario begins with another store.
class Runner {
public:
    Runner(const BenchmarkOptions& options, TmpfsFolder& tmpfs);

    /// @throws Interrupted
    void run();

    const std::vector<StoreKind>& stores() const { return stores_; }
    const std::vector<Repetition>& repetitions() const { return repetitions_; }

    /// The number of repetitions without a result. Each was reported when it failed.
    std::size_t failures() const { return failures_; }

private:
    void runScenario(const Scenario& scenario, unsigned number, std::size_t first);
    void runOne(const Scenario& scenario, const StoreKind& store, unsigned number);

    const BenchmarkOptions& options_;
    TmpfsFolder& tmpfs_;
    std::vector<std::unique_ptr<Scenario>> scenarios_;
    std::vector<StoreKind> stores_;
    std::vector<Repetition> repetitions_;
    std::size_t failures_ = 0;
};

} // namespace storage::benchmark
