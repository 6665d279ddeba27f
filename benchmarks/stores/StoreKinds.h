#pragma once

#include "benchmarks/stores/StoreKind.h"

#include <filesystem>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Every kind of store that was built and is supported on this machine, the plug-in first.
/// @param plugin       path of the plug-in, which is loaded when its first store is built
/// @param tmpfsFolder  a folder on a tmpfs; empty if there is none
std::vector<StoreKind> storeKinds(const std::string& plugin, const std::filesystem::path& tmpfsFolder);

} // namespace storage::benchmark
