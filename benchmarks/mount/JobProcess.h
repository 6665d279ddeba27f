#pragma once

#include "benchmarks/mount/MountBenchmarkOptions.h"

namespace storage::benchmark {

/// What the program does in the process of one repetition: runs the one job of the options in their folder, and prints
/// what it measured.
/// @throws WrongResult, and what system calls fail with
void runJobProcess(const MountBenchmarkOptions& options);

} // namespace storage::benchmark
