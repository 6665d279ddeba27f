#pragma once

#include "benchmarks/stores/StoreRole.h"

#include <string>

namespace storage::benchmark {

/// Who takes part in a comparison. A value.
struct Contender {
    std::string id;    ///< as in options and results
    std::string title; ///< as in tables
    std::string version;
    StoreRole role;
};

} // namespace storage::benchmark
