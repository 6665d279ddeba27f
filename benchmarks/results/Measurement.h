#pragma once

#include <cstdint>
#include <string>

namespace storage::benchmark {

/// Identifies a row of the results. A value.
struct RowId {
    std::string kind;         ///< the operation: the id of a `RowKind`
    std::string variant = {}; ///< to what, for example "100k"; may be empty
    std::uint64_t size = 0;   ///< the number in the variant, for plots; 0 for none

    bool operator==(const RowId&) const = default;
};

/// The result of one repetition for one row. A value.
struct Measurement {
    RowId row;
    double value = 0;   ///< in the unit of the row kind
    double amount = 0;  ///< number of timed operations or bytes; 0 if not applicable
    double seconds = 0; ///< their duration
};

} // namespace storage::benchmark
