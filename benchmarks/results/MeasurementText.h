#pragma once

#include "benchmarks/results/Measurement.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// Serializes measurements for the process that started the repetition.
std::string toText(const std::vector<Measurement>& measurements);

/// The inverse of `toText`.
/// @throws std::runtime_error
std::vector<Measurement> fromText(const std::string& text);

} // namespace storage::benchmark
