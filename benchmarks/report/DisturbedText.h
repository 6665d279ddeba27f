#pragma once

#include "benchmarks/results/Repetition.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::benchmark {

std::size_t countDisturbed(const std::vector<Repetition>& repetitions);

/// The text about noisy repetitions to be placed below a table.
std::string disturbedText(const std::vector<Repetition>& repetitions);

} // namespace storage::benchmark
