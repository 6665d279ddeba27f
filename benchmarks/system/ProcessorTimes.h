#pragma once

namespace storage::benchmark {

/// What all processors together have done since the machine was started, in seconds. A value.
struct ProcessorTimes {
    double busy = 0;
    double stolen = 0; ///< by the machine below this one

    static ProcessorTimes now();
};

} // namespace storage::benchmark
