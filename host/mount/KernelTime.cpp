#include "host/mount/KernelTime.h"

#include <atomic>
#include <cstdint>

namespace storage::host {

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): there is one kernel clock
std::atomic<std::int64_t> latestNoted{0}; ///< nanoseconds

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t toNanoseconds(const timespec& time) {
    return time.tv_sec * nanosecondsPerSecond + time.tv_nsec;
}

std::int64_t read(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return toNanoseconds(time);
}

} // namespace

timespec kernelTime() {
    const std::int64_t noted = latestNoted;
    const std::int64_t coarse = read(CLOCK_REALTIME_COARSE);
    const std::int64_t time = noted > coarse ? noted : coarse;
    return {time / nanosecondsPerSecond, time % nanosecondsPerSecond};
}

void noteKernelTimestamp(const timespec& time) {
    const std::int64_t noted = toNanoseconds(time);
    std::int64_t latest = latestNoted;
    while (noted > latest && noted <= read(CLOCK_REALTIME) &&
           !latestNoted.compare_exchange_weak(latest, noted)) {
    }
}

} // namespace storage::host
