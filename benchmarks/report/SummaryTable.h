#pragma once

#include "benchmarks/report/Summary.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// The summary as a Markdown table, followed by a text about noisy repetitions.
std::string summaryTable(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                         const std::vector<Contender>& stores);

} // namespace storage::benchmark
