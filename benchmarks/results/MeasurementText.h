#pragma once

#include "benchmarks/results/Measurement.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// How the process of a repetition tells what it found.
std::string toText(const std::vector<Measurement>& measurements);

/// The reverse of `toText`.
/// @throws std::runtime_error
std::vector<Measurement> fromText(const std::string& text);

} // namespace storage::benchmark
