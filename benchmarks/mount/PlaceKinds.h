#pragma once

#include "benchmarks/mount/MountBenchmarkOptions.h"
#include "benchmarks/mount/PlaceKind.h"

#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// The kinds that the options select. The pass-through file system exports `backing`.
/// @throws std::runtime_error for an unknown place
std::vector<PlaceKind> placeKinds(const MountBenchmarkOptions& options, const std::filesystem::path& backing);

} // namespace storage::benchmark
