#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/Program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <exception>
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

void registerAll(const std::vector<Scenario>& scenarios, const std::vector<StoreKind>& kinds) {
    for (const Scenario& scenario : scenarios) {
        for (const StoreKind& kind : kinds) {
            if (std::ranges::includes(kind.abilities, scenario.required)) {
                registerScenario(scenario.name + '/' + kind.id,
                                 [scenario, kind](Rows& rows) { scenario.run(kind, rows); });
            }
        }
    }
}

int runProgram(int argc, char** argv) {
    bool isShort = false;
    unsigned mostThreads = std::thread::hardware_concurrency();
    std::string plugin;
    std::string tmpfsFolder;
    CLI::App app(
        "Runs scenarios with in-memory file systems. Each row of a scenario is a counter of its benchmark.\n"
        "For figures use scripts/benchmark, which runs each repetition in its own process.");
    app.footer("All other options are those of Google Benchmark, such as --benchmark_filter=REGEX.");
    app.add_flag("--short", isShort, "Small sizes, to test that all works");
    app.add_option("--threads", mostThreads, "Threads at most (the processors)")->type_name("N");
    app.add_option("--plugin", plugin, "The plug-in's shared library")->type_name("PATH");
    app.add_option("--tmpfs", tmpfsFolder, "An empty folder on a tmpfs")->type_name("FOLDER");
    app.allow_extras();
    CLI11_PARSE(app, argc, argv);
    const std::vector<StoreKind> kinds = storeKinds(plugin, tmpfsFolder);
    for (const StoreKind& kind : kinds) {
        ::benchmark::AddCustomContext("version of " + kind.id, kind.version);
    }
    registerAll(scenarioTable(isShort ? Form::Short : Form::Full, mostThreads), kinds);
    const IdleThread secondThread;
    return runBenchmarks(argv[0], app.remaining());
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    try {
        return storage::benchmark::runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
