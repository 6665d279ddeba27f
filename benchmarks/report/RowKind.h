#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// What the plug-in is compared with in a row.
enum class Rivals {
    Peers,
    Floor ///< where peers do less than the contract of the plug-in demands
};

/// Which values of a row are the better ones.
enum class Better { Lower, Higher };

/// What the rows of one kind have in common. A value.
struct RowKind {
    std::string id; ///< as in `RowId`
    std::string unit;
    Better better;
    int decimals;
    Rivals rivals;
    std::optional<double> goal = {}; ///< how many times better than its rival the measured one is to be
};

/// Every kind of what the plug-in is measured by, in the order of the table.
const std::vector<RowKind>& rowKinds();

} // namespace storage::benchmark
