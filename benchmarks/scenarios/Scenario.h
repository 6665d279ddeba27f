#pragma once

#include "benchmarks/results/Measurements.h"
#include "benchmarks/stores/StoreKind.h"

#include <string>

namespace storage::benchmark {

/// A workload that fills a store, times its operations by kind, and verifies their effects. Runs once per
/// process.
class Scenario {
public:
    Scenario() = default;
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;
    virtual ~Scenario() = default;

    virtual std::string name() const = 0;

    /// Whether a kind of store supports any of its operations.
    virtual bool suits(const StoreKind& kind) const = 0;

    /// @throws WrongResult, and exceptions of the store
    virtual void run(const StoreKind& kind, Measurements& measurements) const = 0;
};

} // namespace storage::benchmark
