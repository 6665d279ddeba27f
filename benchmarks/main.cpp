#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/Program.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

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

unsigned countIn(const std::string& text) {
    if (text.empty() || text.size() > 4 || text.find_first_not_of("0123456789") != std::string::npos) {
        throw std::runtime_error("--threads=" + text + ": not a number of threads");
    }
    return static_cast<unsigned>(std::stoul(text));
}

/// Options: --short, --threads=N (maximum; default: the number of processors), --plugin=PATH (shared
/// library), --tmpfs=FOLDER (an empty folder).
int runScenarios(Program& program) {
    const Form form = program.takeFlag("short") ? Form::Short : Form::Full;
    const std::string threads = program.takeOption("threads");
    const auto kinds = storeKinds(program.takeOption("plugin"), program.takeOption("tmpfs"));
    for (const StoreKind& kind : kinds) {
        describeRun("version of " + kind.id, kind.version);
    }
    for (const Scenario& scenario :
         scenarioTable(form, threads.empty() ? std::thread::hardware_concurrency() : countIn(threads))) {
        for (const StoreKind& kind : kinds) {
            if (std::ranges::includes(kind.abilities, scenario.required)) {
                registerScenario(scenario.name + '/' + kind.id,
                                 [scenario, kind](Rows& rows) { scenario.run(kind, rows); });
            }
        }
    }
    const IdleThread secondThread;
    return program.run();
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::guardedMain(argc, argv, storage::benchmark::runScenarios);
}
