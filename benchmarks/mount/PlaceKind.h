#pragma once

#include "benchmarks/results/Contender.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// A kind of folder that jobs run in. A value.
struct PlaceKind : Contender {
    std::vector<std::string> mountCommand; ///< but for the mount point; none for a plain folder of tmpfs
};

} // namespace storage::benchmark
