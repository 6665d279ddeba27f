#include "host/mount/KernelTime.h"

namespace storage::host {

timespec kernelTime() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
    time.tv_nsec -= time.tv_nsec % 1000;
    return time;
}

} // namespace storage::host
