#pragma once

#include <ctime>

namespace storage::host {

/// The current time as the kernel stamps files with it. The kernel stamps most changes itself from its coarse
/// clock; a finer clock here would order these changes before earlier ones. Never earlier than a noted
/// timestamp. Thread-safe.
timespec kernelTime();

/// Notes a timestamp that the kernel sent. It may be slightly ahead of the coarse clock that this process
/// reads. Thread-safe.
void noteKernelTimestamp(const timespec& time);

} // namespace storage::host
