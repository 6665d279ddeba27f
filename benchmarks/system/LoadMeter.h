#pragma once

#include "benchmarks/results/Load.h"
#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/system/ProcessorTimes.h"

#include <optional>

namespace storage::benchmark {

/// Finds out who uses the processors from its beginning on.
class LoadMeter {
public:
    LoadMeter();

    /// @param child          what ran since the beginning
    /// @param serverSeconds  that its server computed since the beginning, if it has one
    Load read(const ChildProcess& child, std::optional<double> serverSeconds = {}) const;

private:
    ProcessorTimes before_;
    double ownBefore_;
    double kernelBefore_;
};

} // namespace storage::benchmark
