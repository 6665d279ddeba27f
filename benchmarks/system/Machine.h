#pragma once

#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// Of the kernel, as a version is told.
std::string kernelRelease();

/// What there is to know of the machine that figures depend on, as pairs of name and value.
std::vector<std::pair<std::string, std::string>> describeMachine();

} // namespace storage::benchmark
