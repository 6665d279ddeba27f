#pragma once

#include "benchmarks/results/Load.h"
#include "benchmarks/results/Measurement.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// One run of a scenario with a store, in its own process. A value.
struct Repetition {
    std::string scenario;
    std::string store;
    unsigned number = 0;
    Load load;
    std::vector<Measurement> measurements;

    bool isDisturbed() const { return load.isDisturbed(); }
};

} // namespace storage::benchmark
