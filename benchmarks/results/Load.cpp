#include "benchmarks/results/Load.h"

namespace storage::benchmark {

bool Load::isDisturbed() const {
    constexpr double tolerance = 0.05;
    constexpr double smallestCounted = 0.02; // two ticks of the kernel's accounting
    const bool waited = !serverSeconds && processorSeconds < seconds * (1 - tolerance) - smallestCounted;
    const bool shared = othersSeconds + stolenSeconds > seconds * tolerance + smallestCounted;
    return waited || shared;
}

} // namespace storage::benchmark
