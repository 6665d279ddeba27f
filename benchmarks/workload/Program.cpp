#include "benchmarks/workload/Program.h"

#include <benchmark/benchmark.h>

namespace storage::benchmark {

namespace {

#ifdef __clang__
constexpr const char* compiler = __VERSION__;
#else
constexpr const char* compiler = "GCC " __VERSION__;
#endif

} // namespace

int runBenchmarks(const char* program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    ::benchmark::Initialize(&count, pointers.data());
    if (::benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 2;
    }
    ::benchmark::AddCustomContext("compiler", compiler);
    ::benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace storage::benchmark
