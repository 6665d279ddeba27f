#pragma once

#include <sys/types.h>

namespace storage::benchmark {

/// What a process has computed since it was started, in seconds; 0 when it is gone.
double processSeconds(pid_t process);

/// What the threads of the kernel have computed.
double kernelThreadSeconds();

} // namespace storage::benchmark
