#pragma once

#include "benchmarks/workload/Timing.h"

#include <benchmark/benchmark.h>
#include <map>
#include <stdexcept>
#include <string>

namespace storage::benchmark {

/// Collects the rows of a scenario as counters of Google Benchmark, which are named "row|variant". Several
/// timings of one row are added up.
class Rows {
public:
    explicit Rows(::benchmark::State& state) : state_(state) {}

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
        state_.counters[row + '|' + variant] = value;
    }

private:
    ::benchmark::State& state_;
    std::map<std::string, Timing> sums_;
};

/// Registers a scenario with Google Benchmark. run(Rows&) is called once; an exception is reported as an error.
template <typename Run>
void registerScenario(const std::string& name, Run run) {
    const auto runOnce = [run](::benchmark::State& state) {
        while (state.KeepRunning()) {
            try {
                Rows rows(state);
                run(rows);
            } catch (const std::exception& error) {
                state.SkipWithError(error.what());
            }
        }
    };
    ::benchmark::RegisterBenchmark(name.c_str(), runOnce)->Iterations(1)->UseRealTime();
}

} // namespace storage::benchmark
