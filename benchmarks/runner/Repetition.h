#pragma once

#include "benchmarks/scenarios/Measurement.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// One run of one scenario with one store, in a process of its own. A value.
struct Repetition {
    std::string scenario;
    std::string store;
    unsigned number = 0;
    double seconds = 0;          ///< that the process lived
    double processorSeconds = 0; ///< that it computed
    double othersSeconds = 0;    ///< that other processes computed meanwhile
    double stolenSeconds = 0;    ///< that the machine below this one took away meanwhile
    std::vector<Measurement> measurements;

    /// Whether something else on the machine may show in the figures.
    bool isDisturbed() const;
};

} // namespace storage::benchmark
