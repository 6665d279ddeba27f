#include "benchmarks/mount/JobProcess.h"

#include "benchmarks/mount/JobTable.h"
#include "benchmarks/results/MeasurementText.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace storage::benchmark {

void runJobProcess(const MountBenchmarkOptions& options) {
    const auto jobs = jobTable(options.form);
    const auto job =
        std::find_if(jobs.begin(), jobs.end(), [&](const auto& each) { return each->name() == options.job; });
    if (job == jobs.end()) {
        throw std::invalid_argument(options.job + ": no such job");
    }
    Measurements measurements;
    (*job)->run(options.folder, SourceTree(options.source), measurements);
    std::cout << toText(measurements.all()) << std::flush;
}

} // namespace storage::benchmark
