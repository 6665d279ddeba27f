#include "benchmarks/report/PlotData.h"
#include "benchmarks/report/ReportFile.h"
#include "benchmarks/report/ResultsFile.h"
#include "benchmarks/report/Summary.h"
#include "benchmarks/report/SummaryTable.h"
#include "benchmarks/results/Timing.h"
#include "benchmarks/runner/BenchmarkOptions.h"
#include "benchmarks/runner/RepetitionProcess.h"
#include "benchmarks/runner/Runner.h"
#include "benchmarks/system/GuardedMain.h"
#include "benchmarks/system/StopSignal.h"
#include "benchmarks/system/TmpfsFolder.h"

#include <fmt/format.h>
#include <iostream>
#include <string>

namespace storage::benchmark {

namespace {

constexpr int failed = 1;

void report(const BenchmarkOptions& options, const Runner& runner) {
    const std::vector<Contender> stores(runner.stores().begin(), runner.stores().end());
    const auto rows = summarize(rowKinds(), runner.repetitions(), stores);
    const auto run = RunDescription::now(options.command);
    const std::string table = summaryTable(rows, runner.repetitions(), stores) + run.text();
    std::cout << table;
    if (!options.table.empty()) {
        writeReportFile(options.table, table);
    }
    if (!options.results.empty()) {
        writeReportFile(options.results, resultLines(run, rows, runner.repetitions(), stores));
    }
    if (!options.runs.empty()) {
        writeReportFile(options.runs, repetitionLines(runner.repetitions()));
    }
    if (!options.data.empty()) {
        writePlotData(rows, options.data);
    }
}

int runAll(const BenchmarkOptions& options) {
    const StopSignal stopSignal;
    TmpfsFolder tmpfs;
    if (tmpfs.path().empty()) {
        std::cerr << "no tmpfs with room enough: left out\n";
    }
    const auto start = std::chrono::steady_clock::now();
    Runner runner(options, tmpfs);
    runner.run();
    report(options, runner);
    std::cout << fmt::format("{} repetitions in {:.0f} s, {} failed\n",
                             runner.repetitions().size() + runner.failures(), secondsSince(start),
                             runner.failures());
    return runner.failures() == 0 ? 0 : failed;
}

int runProgram(int argc, char** argv) {
    const auto options = BenchmarkOptions::parse(argc, argv);
    if (!options.help.empty()) {
        std::cout << options.help;
    } else if (options.scenario.empty()) {
        return runAll(options);
    } else {
        runRepetitionProcess(options);
    }
    return 0;
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::runGuarded("qzstorage_benchmark",
                                          [&] { return storage::benchmark::runProgram(argc, argv); });
}
