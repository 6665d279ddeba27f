#pragma once

namespace storage::benchmark {

/// Times of all processors since the machine was started, in seconds. A value.
struct ProcessorTimes {
    double busy = 0;
    double stolen = 0; ///< steal time of the hypervisor

    static ProcessorTimes now();
};

} // namespace storage::benchmark
