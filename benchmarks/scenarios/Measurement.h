#pragma once

#include "benchmarks/scenarios/RowId.h"

namespace storage::benchmark {

/// What one repetition found for one row. A value.
struct Measurement {
    RowId row;
    double value = 0;   ///< in the unit of the row's kind
    double amount = 0;  ///< operations or bytes that were timed; 0 where that has no meaning
    double seconds = 0; ///< that they took
};

} // namespace storage::benchmark
