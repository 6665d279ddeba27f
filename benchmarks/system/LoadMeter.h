#pragma once

#include "benchmarks/results/Load.h"
#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/system/ProcessorTimes.h"

#include <optional>

namespace storage::benchmark {

/// Measures the use of the processors since its construction.
class LoadMeter {
public:
    LoadMeter();

    /// @param child          the process that ran meanwhile
    /// @param serverSeconds  processor time of its server meanwhile, if it has one
    Load read(const ChildProcess& child, std::optional<double> serverSeconds = {}) const;

private:
    ProcessorTimes before_;
    double ownBefore_;
    double kernelBefore_;
};

} // namespace storage::benchmark
