#include "benchmarks/runner/RepetitionProcess.h"

#include "benchmarks/results/MeasurementText.h"
#include "benchmarks/scenarios/ScenarioTable.h"
#include "benchmarks/stores/StoreKinds.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <stdexcept>
#include <stop_token>
#include <thread>

namespace storage::benchmark {

namespace {

/// Makes the process multi-threaded, as hosts are. In a single-threaded process the standard libraries skip
/// atomic operations and locks.
class IdleThread {
public:
    IdleThread() : thread_([](const std::stop_token& stop) { waitFor(stop); }) {}

private:
    static void waitFor(const std::stop_token& stop) {
        std::atomic<bool> stopped = false;
        const std::stop_callback wakeUp(stop, [&] {
            stopped = true;
            stopped.notify_one();
        });
        stopped.wait(false);
    }

    std::jthread thread_;
};

} // namespace

void runRepetitionProcess(const BenchmarkOptions& options) {
    const auto scenarios = scenarioTable(options.form);
    const auto scenario = std::find_if(scenarios.begin(), scenarios.end(),
                                       [&](const auto& each) { return each->name() == options.scenario; });
    const auto kinds = storeKinds(options.plugin, options.tmpfsFolder);
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&](const StoreKind& each) { return each.id == options.stores.front(); });
    if (scenario == scenarios.end() || kind == kinds.end()) {
        throw std::invalid_argument("no such scenario or store");
    }
    const IdleThread secondThread;
    Measurements measurements;
    (*scenario)->run(*kind, measurements);
    std::cout << toText(measurements.all()) << std::flush;
}

} // namespace storage::benchmark
