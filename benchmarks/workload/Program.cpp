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

constexpr int wrongUsage = 2;

} // namespace

bool Program::takeFlag(const std::string& name) {
    return std::erase(arguments_, "--" + name) > 0;
}

std::string Program::takeOption(const std::string& name) {
    const std::string prefix = "--" + name + '=';
    std::string value;
    std::erase_if(arguments_, [&](const std::string& argument) {
        const bool isTaken = argument.starts_with(prefix);
        value = isTaken ? argument.substr(prefix.size()) : value;
        return isTaken;
    });
    return value;
}

bool Program::onlyLists() const {
    return std::find(arguments_.begin(), arguments_.end(), "--benchmark_list_tests") != arguments_.end();
}

int Program::run() {
    std::vector<char*> pointers;
    for (std::string& argument : arguments_) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    ::benchmark::Initialize(&count, pointers.data());
    if (::benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return wrongUsage;
    }
    describeRun("compiler", compiler);
    ::benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
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

int guardedMain(int argc, char** argv, int (*runProgram)(Program&)) {
    try {
        Program program(argc, argv);
        return runProgram(program);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}

} // namespace storage::benchmark
