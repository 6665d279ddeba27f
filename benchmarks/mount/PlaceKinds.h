#pragma once

#include "benchmarks/mount/MountBenchmarkOptions.h"
#include "benchmarks/mount/PlaceKind.h"

#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// What the options ask for. The pass-through file system shows `backing`.
/// @throws std::runtime_error for a place that there is not
std::vector<PlaceKind> placeKinds(const MountBenchmarkOptions& options, const std::filesystem::path& backing);

} // namespace storage::benchmark
