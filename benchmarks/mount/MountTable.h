#pragma once

#include "benchmarks/report/Summary.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// The summary as a Markdown table, which compares each ratio with its goal.
std::string mountTable(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                       const std::vector<Contender>& places);

} // namespace storage::benchmark
