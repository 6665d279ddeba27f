#pragma once

#include <sys/types.h>

namespace storage::benchmark {

/// Processor time of a process in seconds; 0 if it does not exist.
double processSeconds(pid_t process);

/// Processor time of all kernel threads in seconds.
double kernelThreadSeconds();

} // namespace storage::benchmark
