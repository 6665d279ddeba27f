#include "benchmarks/system/LoadMeter.h"

#include "benchmarks/system/ProcessSeconds.h"

#include <algorithm>
#include <ctime>

namespace storage::benchmark {

namespace {

double ownProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace

LoadMeter::LoadMeter()
    : before_(ProcessorTimes::now()),
      ownBefore_(ownProcessorSeconds()),
      kernelBefore_(kernelThreadSeconds()) {}

Load LoadMeter::read(const ChildProcess& child, std::optional<double> serverSeconds) const {
    const ProcessorTimes after = ProcessorTimes::now();
    const double own =
        child.processorSeconds + serverSeconds.value_or(0) + ownProcessorSeconds() - ownBefore_;
    // The kernel may write back data to a server in its own threads.
    const double kernel = serverSeconds ? kernelThreadSeconds() - kernelBefore_ : 0;
    return {child.seconds, child.processorSeconds, std::max(0.0, after.busy - before_.busy - own - kernel),
            after.stolen - before_.stolen, serverSeconds};
}

} // namespace storage::benchmark
