#pragma once

#include "benchmarks/workload/Timing.h"

#include <map>
#include <string>

namespace storage::benchmark {

/// Collects the rows of a scenario under the names "row|variant". Several timings of one row are added up.
class Rows {
public:
    /// For a row in nanoseconds per operation.
    void addCost(const std::string& row, const std::string& variant, const Timing& timing) {
        const Timing& sum = sums_[row + '|' + variant] += timing;
        add(row, variant, sum.seconds / static_cast<double>(sum.operations) * 1e9);
    }

    /// For a row in multiples of `unit` per second.
    void addRate(const std::string& row, const std::string& variant, const Timing& timing, double unit) {
        const Timing& sum = sums_[row + '|' + variant] += timing;
        add(row, variant, static_cast<double>(sum.operations) / sum.seconds / unit);
    }

    /// For a row with a plain value.
    void add(const std::string& row, const std::string& variant, double value) {
        values_[row + '|' + variant] = value;
    }

    const std::map<std::string, double>& values() const { return values_; }

private:
    std::map<std::string, Timing> sums_;
    std::map<std::string, double> values_;
};

} // namespace storage::benchmark
