#pragma once

#include "benchmarks/scenarios/PathList.h"

#include <cstdint>
#include <vector>

namespace storage::benchmark {

/// What is done in one folder: paths, orders and numbers, made before anything is timed.
struct FolderPlan {
    explicit FolderPlan(std::uint32_t fileCount);

    std::uint32_t count;    ///< files in the folder
    std::uint32_t rounds;   ///< few files are few operations, so a small folder is done more than once
    std::uint32_t queries;  ///< for attributes, and as many for missing names
    std::uint32_t listings; ///< of the whole folder
    std::uint32_t moves;    ///< inside the folder, and as many into the other one

    /// Seconds for operations of a kind. Where a single one walks through the whole store, as some do in some stores,
    /// fewer of them must do.
    double queryBudget;

    PathList paths;
    PathIndex folder = 0;
    PathIndex otherFolder = 0;
    PathIndex files = 0;   ///< the first of `count`, in ascending order
    PathIndex missing = 0; ///< the first of `queries` names that are never there
    PathIndex renamed = 0; ///< the first of `moves` new names in the folder
    PathIndex others = 0;  ///< the first of `moves` names in the other folder

    std::vector<std::uint32_t> order;        ///< of the files
    std::vector<std::uint32_t> missingOrder; ///< of the missing names
};

} // namespace storage::benchmark
