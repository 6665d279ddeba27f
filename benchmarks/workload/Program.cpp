#include "benchmarks/workload/Program.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace storage::benchmark {

namespace {

#ifdef __clang__
constexpr const char* compiler = __VERSION__;
#else
constexpr const char* compiler = "GCC " __VERSION__;
#endif

} // namespace

Program::Program(int argc, char** argv) {
    ::benchmark::Initialize(&argc, argv);
    options_.assign(argv + 1, argv + argc);
}

bool Program::takeFlag(const std::string& name) {
    return std::erase(options_, "--" + name) > 0;
}

std::string Program::takeOption(const std::string& name) {
    const std::string prefix = "--" + name + '=';
    const auto found = std::find_if(options_.begin(), options_.end(),
                                    [&](const std::string& option) { return option.starts_with(prefix); });
    if (found == options_.end()) {
        return "";
    }
    std::string value = found->substr(prefix.size());
    options_.erase(found);
    return value;
}

void Program::run() {
    if (!options_.empty()) {
        throw std::runtime_error(options_.front() + ": no such option");
    }
    describeRun("compiler", compiler);
    ::benchmark::RunSpecifiedBenchmarks();
}

void describeRun(const std::string& name, const std::string& value) {
    ::benchmark::AddCustomContext(name, value);
}

void registerScenario(const std::string& name, const std::function<void(Rows&)>& run) {
    const auto runOnce = [run](::benchmark::State& state) {
        while (state.KeepRunning()) {
            try {
                Rows rows;
                run(rows);
                state.counters.insert(rows.values().begin(), rows.values().end());
            } catch (const std::exception& error) {
                state.SkipWithError(error.what());
            }
        }
    };
    ::benchmark::RegisterBenchmark(name.c_str(), runOnce)->Iterations(1)->UseRealTime();
}

int guardedMain(int argc, char** argv, void (*runProgram)(Program&)) {
    try {
        Program program(argc, argv);
        runProgram(program);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}

} // namespace storage::benchmark
