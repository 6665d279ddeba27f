#include "benchmarks/mount/QuietMachine.h"

#include "benchmarks/system/ProcessorTimes.h"
#include "benchmarks/system/StopSignal.h"

#include <algorithm>
#include <thread>

namespace storage::benchmark {

namespace {

constexpr std::chrono::milliseconds watched(200);
constexpr std::chrono::steady_clock::duration longestWait = std::chrono::seconds(20);
constexpr double mostBusySeconds = 0.02;

bool isQuiet() {
    const ProcessorTimes before = ProcessorTimes::now();
    std::this_thread::sleep_for(watched);
    const ProcessorTimes after = ProcessorTimes::now();
    return after.busy - before.busy + after.stolen - before.stolen <= mostBusySeconds;
}

} // namespace

void QuietMachine::await() {
    const auto start = std::chrono::steady_clock::now();
    const auto end = start + std::min(patience_, longestWait);
    while (!isQuiet() && std::chrono::steady_clock::now() < end && !StopSignal::arrived()) {
    }
    patience_ -= std::min(patience_, std::chrono::steady_clock::now() - start);
}

} // namespace storage::benchmark
