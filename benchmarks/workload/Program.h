#pragma once

#include <string>
#include <vector>

namespace storage::benchmark {

/// Runs the registered benchmarks with Google Benchmark's own arguments. Its results name the compiler.
/// @return the exit status
int runBenchmarks(const char* program, std::vector<std::string> arguments);

} // namespace storage::benchmark
