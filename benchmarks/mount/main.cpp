#include "benchmarks/mount/JobProcess.h"
#include "benchmarks/mount/MountBenchmarkOptions.h"
#include "benchmarks/mount/MountRows.h"
#include "benchmarks/mount/MountRunner.h"
#include "benchmarks/mount/MountTable.h"
#include "benchmarks/report/ReportFile.h"
#include "benchmarks/report/ResultsFile.h"
#include "benchmarks/results/Timing.h"
#include "benchmarks/system/GuardedMain.h"
#include "benchmarks/system/StopSignal.h"

#include <fmt/format.h>
#include <iostream>

namespace storage::benchmark {

namespace {

void report(const MountBenchmarkOptions& options, const MountRunner& runner) {
    const std::vector<Contender> places(runner.places().begin(), runner.places().end());
    const auto rows = summarize(mountRowKinds(), runner.repetitions(), places);
    const auto run = RunDescription::now(options.command);
    const std::string table = mountTable(rows, runner.repetitions(), places) + run.text();
    std::cout << table;
    if (!options.table.empty()) {
        writeReportFile(options.table, table);
    }
    if (!options.results.empty()) {
        writeReportFile(options.results, resultLines(run, rows, runner.repetitions(), places));
    }
    if (!options.runs.empty()) {
        writeReportFile(options.runs, repetitionLines(runner.repetitions()));
    }
}

void runAll(const MountBenchmarkOptions& options) {
    const StopSignal stopSignal;
    const auto start = std::chrono::steady_clock::now();
    MountRunner runner(options);
    runner.run();
    report(options, runner);
    std::cout << fmt::format("{} repetitions in {:.0f} s, every result right\n", runner.repetitions().size(),
                             secondsSince(start));
}

int runProgram(int argc, char** argv) {
    const auto options = MountBenchmarkOptions::parse(argc, argv);
    if (!options.help.empty()) {
        std::cout << options.help;
    } else if (options.job.empty()) {
        runAll(options);
    } else {
        runJobProcess(options);
    }
    return 0;
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    using namespace storage::benchmark;
    return runGuarded("qzstorage_mount_benchmark", [&] { return runProgram(argc, argv); });
}
