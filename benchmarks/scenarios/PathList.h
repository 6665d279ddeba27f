#pragma once

#include "benchmarks/stores/Store.h"

#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// The paths of a scenario, in the order in which the store receives them.
class PathList {
public:
    PathIndex add(std::string path) {
        paths_.push_back(std::move(path));
        return static_cast<PathIndex>(paths_.size() - 1);
    }

    const std::string& operator[](PathIndex index) const { return paths_[index]; }
    const std::vector<std::string>& all() const { return paths_; }

private:
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
