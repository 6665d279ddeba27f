#pragma once

#include "benchmarks/report/RunDescription.h"
#include "benchmarks/report/Summary.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// The results of a run as JSON lines: first the run with its stores, then each row of each store.
std::string resultLines(const RunDescription& run, const std::vector<SummaryRow>& rows,
                        const std::vector<Repetition>& repetitions, const std::vector<Contender>& stores);

/// All measurements of a run without summary, as JSON lines, one per repetition.
std::string repetitionLines(const std::vector<Repetition>& repetitions);

} // namespace storage::benchmark
