#pragma once

#include "benchmarks/report/Summary.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// The summary as a table in Markdown, with what it says of disturbed repetitions below it.
std::string summaryTable(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                         const std::vector<Contender>& stores);

} // namespace storage::benchmark
