#pragma once

#include "benchmarks/runner/BenchmarkOptions.h"

namespace storage::benchmark {

/// What the program does in the process of one repetition: runs the one scenario with the one store of the
/// options, and prints what it measured.
/// @throws WrongResult, and what the store throws
void runRepetitionProcess(const BenchmarkOptions& options);

} // namespace storage::benchmark
