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

} // namespace storage::benchmark
