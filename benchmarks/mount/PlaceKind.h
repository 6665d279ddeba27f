#pragma once

#include "benchmarks/results/Contender.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// A kind of file system for jobs. A value.
struct PlaceKind : Contender {
    std::vector<std::string> mountCommand; ///< without the mount point; empty for a plain folder on a tmpfs
};

} // namespace storage::benchmark
