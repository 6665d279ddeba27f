#pragma once

#include "benchmarks/runner/BenchmarkOptions.h"

namespace storage::benchmark {

/// Runs one repetition in its own process: the scenario of the options with the store of the options. Prints
/// the measurements.
/// @throws WrongResult, and exceptions of the store
void runRepetitionProcess(const BenchmarkOptions& options);

} // namespace storage::benchmark
