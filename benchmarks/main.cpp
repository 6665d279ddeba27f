#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/Program.h"

#include <algorithm>
#include <string>
#include <thread>
#include <unistd.h>

namespace storage::benchmark {

namespace {

/// Options: --short, --threads=N (maximum; default: the number of processors), --tmpfs=FOLDER (empty).
void runScenarios(Program& program) {
    const Form form = program.takeFlag("short") ? Form::Short : Form::Full;
    const std::string threads = program.takeOption("threads");
    const unsigned mostThreads =
        threads.empty() ? std::thread::hardware_concurrency() : static_cast<unsigned>(std::stoul(threads));
    const auto kinds = storeKinds(program.takeOption("tmpfs"));
    for (const StoreKind& kind : kinds) {
        describeRun("version of " + kind.id, kind.version);
    }
    for (const Scenario& scenario : scenarioTable(form, mostThreads)) {
        for (const StoreKind& kind : kinds) {
            if (std::ranges::includes(kind.abilities, scenario.required)) {
                registerScenario(scenario.name + '/' + kind.id,
                                 [scenario, kind](Rows& rows) { scenario.run(kind, rows); });
            }
        }
    }
    // Makes the process multi-threaded, as hosts are. In a single-threaded process the standard libraries
    // skip atomic operations and locks.
    std::thread(::pause).detach();
    program.run();
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::guardedMain(argc, argv, storage::benchmark::runScenarios);
}
