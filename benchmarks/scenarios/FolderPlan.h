#pragma once

#include "benchmarks/scenarios/PathList.h"

#include <cstdint>
#include <vector>

namespace storage::benchmark {

/// The operations in one folder: paths, orders and numbers, prepared before the timing.
struct FolderPlan {
    explicit FolderPlan(std::uint32_t fileCount);

    std::uint32_t count;    ///< files in the folder
    std::uint32_t rounds;   ///< a small folder has few operations, so it takes several rounds
    std::uint32_t queries;  ///< look-ups of attributes, and as many of missing names
    std::uint32_t listings; ///< of the whole folder
    std::uint32_t moves;    ///< inside the folder, and as many to the other one

    /// Time limit in seconds for the operations of a kind. Some operations of some stores are linear in the
    /// size of the store. This limits their number.
    double queryBudget;

    PathList paths;
    PathIndex folder = 0;
    PathIndex otherFolder = 0;
    PathIndex files = 0;   ///< the first of `count`, in ascending order
    PathIndex missing = 0; ///< the first of `queries` missing names
    PathIndex renamed = 0; ///< the first of `moves` new names in the folder
    PathIndex others = 0;  ///< the first of `moves` names in the other folder

    std::vector<std::uint32_t> order;        ///< order of the files
    std::vector<std::uint32_t> missingOrder; ///< order of the missing names
};

} // namespace storage::benchmark
