#pragma once

#include <ctime>

namespace storage::host {

/// The present time as the kernel stamps files with it, in whole microseconds. The kernel stamps most changes by itself;
/// a finer clock here would make them look earlier than changes that came before them.
timespec kernelTime();

} // namespace storage::host
