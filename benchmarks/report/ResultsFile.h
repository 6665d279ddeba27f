#pragma once

#include "benchmarks/report/Summary.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// Everything there is to tell of a run, as JSON: the machine, the stores, each repetition, the summary.
std::string resultsFile(const std::vector<SummaryRow>& rows, const std::vector<Repetition>& repetitions,
                        const std::vector<Contender>& stores);

} // namespace storage::benchmark
