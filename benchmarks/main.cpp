#include "benchmarks/report/PlotData.h"
#include "benchmarks/report/ResultsFile.h"
#include "benchmarks/report/Summary.h"
#include "benchmarks/report/SummaryTable.h"
#include "benchmarks/runner/BenchmarkOptions.h"
#include "benchmarks/runner/Interrupted.h"
#include "benchmarks/runner/RepetitionProcess.h"
#include "benchmarks/runner/Runner.h"
#include "benchmarks/runner/StopSignal.h"
#include "benchmarks/runner/TmpfsFolder.h"
#include "benchmarks/scenarios/Timing.h"

#include <CLI/Error.hpp>
#include <exception>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <string>

namespace storage::benchmark {

namespace {

constexpr int failed = 1;
constexpr int wronglyUsed = 2;
constexpr int interrupted = 130;

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios_base::binary);
    file << text << std::flush;
    if (!file) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

void report(const BenchmarkOptions& options, const Runner& runner) {
    const auto rows = summarize(runner.repetitions(), runner.stores());
    const std::string table = summaryTable(rows, runner.repetitions(), runner.stores());
    std::cout << table;
    if (!options.table.empty()) {
        writeFile(options.table, table);
    }
    if (!options.json.empty()) {
        writeFile(options.json, resultsFile(rows, runner.repetitions(), runner.stores()));
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

int runProgram(const BenchmarkOptions& options) {
    if (!options.help.empty()) {
        std::cout << options.help;
    } else if (options.scenario.empty()) {
        return runAll(options);
    } else {
        runRepetitionProcess(options);
    }
    return 0;
}

int runGuarded(int argc, char** argv) {
    try {
        return runProgram(BenchmarkOptions::parse(argc, argv));
    } catch (const CLI::ParseError& error) {
        std::cerr << "qzstorage_benchmark: " << error.what() << " (try --help)\n";
        return wronglyUsed;
    } catch (const Interrupted&) {
        std::cerr << "\nqzstorage_benchmark: interrupted\n";
        return interrupted;
    } catch (const std::exception& error) {
        std::cerr << "\nqzstorage_benchmark: " << error.what() << '\n';
        return failed;
    }
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::runGuarded(argc, argv);
}
