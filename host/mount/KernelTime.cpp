#include "host/mount/KernelTime.h"

#include "host/support/FileTime.h"

#include <atomic>
#include <cstdint>

namespace storage::host {

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): there is one kernel clock
std::atomic<std::int64_t> latestNoted{0}; ///< microseconds

std::int64_t toMicroseconds(const timespec& time) {
    return time.tv_sec * microsecondsPerSecond + time.tv_nsec / 1000;
}

std::int64_t read(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return toMicroseconds(time);
}

} // namespace

timespec kernelTime() {
    const std::int64_t noted = latestNoted;
    const std::int64_t coarse = read(CLOCK_REALTIME_COARSE);
    const std::int64_t time = noted > coarse ? noted : coarse;
    return {time / microsecondsPerSecond, time % microsecondsPerSecond * 1000};
}

void noteKernelTimestamp(const timespec& time) {
    const std::int64_t noted = toMicroseconds(time);
    std::int64_t latest = latestNoted;
    while (noted > latest && noted <= read(CLOCK_REALTIME) &&
           !latestNoted.compare_exchange_weak(latest, noted)) {
    }
}

} // namespace storage::host
