#pragma once

#include "benchmarks/results/Measurement.h"
#include "benchmarks/results/Timing.h"

#include <vector>

namespace storage::benchmark {

/// Collects what a scenario measures. What is added to a row more than once counts together.
class Measurements {
public:
    /// To a row whose value is nanoseconds per operation.
    void addCost(const RowId& row, const Timing& timing);

    /// To a row whose value is gigabytes per second.
    void addBandwidth(const RowId& row, double bytes, double seconds);

    /// To a row whose value is thousands of operations per second.
    void addThousands(const RowId& row, const Timing& timing);

    /// To a row whose value is how many times `unit` of an amount a second.
    void addRate(const RowId& row, double amount, double seconds, double unit);

    /// To a row whose value stands for itself.
    void add(const RowId& row, double value);

    const std::vector<Measurement>& all() const { return all_; }

private:
    Measurement& sumUp(const RowId& row, double amount, double seconds);

    std::vector<Measurement> all_;
};

} // namespace storage::benchmark
