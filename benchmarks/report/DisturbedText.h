#pragma once

#include "benchmarks/results/Repetition.h"

#include <cstddef>
#include <string>
#include <vector>

namespace storage::benchmark {

std::size_t countDisturbed(const std::vector<Repetition>& repetitions);

/// What is said below a table of repetitions that other load has disturbed.
std::string disturbedText(const std::vector<Repetition>& repetitions);

} // namespace storage::benchmark
