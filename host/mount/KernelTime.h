#pragma once

#include <ctime>

namespace storage::host {

/// The current time, as the kernel would stamp a file now. The kernel stamps most changes itself from its
/// coarse clock. With a finer clock here, such a change could get an earlier time than a change before it.
/// Never earlier than a noted timestamp. Thread-safe.
timespec kernelTime();

/// Notes a timestamp that the kernel sent. It may be slightly ahead of the coarse clock that this process
/// reads. Thread-safe.
void noteKernelTimestamp(const timespec& time);

} // namespace storage::host
