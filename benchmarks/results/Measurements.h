#pragma once

#include "benchmarks/results/Measurement.h"
#include "benchmarks/results/Timing.h"

#include <vector>

namespace storage::benchmark {

/// Collects the measurements of a scenario. Several measurements of one row are added up.
class Measurements {
public:
    /// For a row in nanoseconds per operation.
    void addCost(const RowId& row, const Timing& timing);

    /// For a row in gigabytes per second.
    void addBandwidth(const RowId& row, double bytes, double seconds);

    /// For a row in thousands of operations per second.
    void addThousands(const RowId& row, const Timing& timing);

    /// For a row in multiples of `unit` per second.
    void addRate(const RowId& row, double amount, double seconds, double unit);

    /// For a row with a plain value.
    void add(const RowId& row, double value);

    const std::vector<Measurement>& all() const { return all_; }

private:
    Measurement& sumUp(const RowId& row, double amount, double seconds);

    std::vector<Measurement> all_;
};

} // namespace storage::benchmark
