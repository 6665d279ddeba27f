#include "host/mount/KernelTime.h"

#include "host/support/FileTime.h"

#include <atomic>
#include <cstdint>

namespace storage::host {

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the kernel has but one clock, too
std::atomic<std::int64_t> latestHeard{0}; ///< microseconds

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
    const std::int64_t heard = latestHeard;
    const std::int64_t coarse = read(CLOCK_REALTIME_COARSE);
    const std::int64_t time = heard > coarse ? heard : coarse;
    return {time / microsecondsPerSecond, time % microsecondsPerSecond * 1000};
}

void hearKernelTime(const timespec& time) {
    const std::int64_t heard = toMicroseconds(time);
    std::int64_t latest = latestHeard;
    while (heard > latest && heard <= read(CLOCK_REALTIME) &&
           !latestHeard.compare_exchange_weak(latest, heard)) {
    }
}

} // namespace storage::host
