#pragma once

#include <ctime>

namespace storage::host {

/// The present time as the kernel stamps files with it, in whole microseconds. The kernel stamps most changes by itself;
/// a finer clock here would make them look earlier than changes that came before them. Never before a time that the
/// kernel has been heard to use. Thread safety: any number of threads.
timespec kernelTime();

/// Notes a stamp of the kernel's: its clock may be a little ahead of the coarse one that everybody can read.
void hearKernelTime(const timespec& time);

} // namespace storage::host
