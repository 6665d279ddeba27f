#pragma once

#include "benchmarks/stores/StoreKind.h"

#include <filesystem>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Every kind of store that was built in and has its place on this machine, the plug-in first.
/// @param plugin       the plug-in's shared library; loaded by the first store that is built of it
/// @param tmpfsFolder  a folder of a tmpfs; empty where there is none
std::vector<StoreKind> storeKinds(const std::string& plugin, const std::filesystem::path& tmpfsFolder);

} // namespace storage::benchmark
