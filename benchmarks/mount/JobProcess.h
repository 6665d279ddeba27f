#pragma once

#include "benchmarks/mount/MountBenchmarkOptions.h"

namespace storage::benchmark {

/// Runs one repetition in its own process: the job of the options in their folder. Prints the measurements.
/// @throws WrongResult, and std::system_error of system calls
void runJobProcess(const MountBenchmarkOptions& options);

} // namespace storage::benchmark
