#pragma once

#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// The release of the running kernel.
std::string kernelRelease();

/// The properties of the machine that affect measurements, as pairs of name and value.
std::vector<std::pair<std::string, std::string>> describeMachine();

} // namespace storage::benchmark
