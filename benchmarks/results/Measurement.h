#pragma once

#include <cstdint>
#include <string>

namespace storage::benchmark {

/// Names one row of the results. A value.
struct RowId {
    std::string kind;         ///< what is done, the id of a `RowKind`
    std::string variant = {}; ///< to what, for example "100k"; may be empty
    std::uint64_t size = 0;   ///< the number in it, for plots; 0 for none

    bool operator==(const RowId&) const = default;
};

/// What one repetition found for one row. A value.
struct Measurement {
    RowId row;
    double value = 0;   ///< in the unit of the row's kind
    double amount = 0;  ///< operations or bytes that were timed; 0 where that has no meaning
    double seconds = 0; ///< that they took
};

} // namespace storage::benchmark
