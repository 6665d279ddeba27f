#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The stores that the plug-in is compared with in a row.
enum class Rivals {
    Peers,
    Floor ///< if peers do less than the plug-in's contract requires
};

/// Whether lower or higher values of a row are better.
enum class Better { Lower, Higher };

/// Properties of all rows of one kind. A value.
struct RowKind {
    std::string id; ///< as in `RowId`
    std::string unit;
    Better better;
    int decimals;
    Rivals rivals;
    std::optional<double> goal = {}; ///< factor by which the plug-in should be better than its rival
};

/// Every kind of row, in the order of the table.
const std::vector<RowKind>& rowKinds();

} // namespace storage::benchmark
