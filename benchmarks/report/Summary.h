#pragma once

#include "benchmarks/report/RowKind.h"
#include "benchmarks/results/Contender.h"
#include "benchmarks/results/Measurement.h"
#include "benchmarks/results/Repetition.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Statistics of one row and one store over all repetitions. A value.
struct SummaryCell {
    double median = 0;
    double smallest = 0;
    double largest = 0;
    std::size_t repetitions = 0;
    std::size_t undisturbed = 0; ///< number of repetitions without noise; if 0, the statistics include all
};

/// One row: the statistics of each store, and the comparison of the plug-in. A value.
struct SummaryRow {
    RowId row;
    RowKind kind;
    std::map<std::string, SummaryCell> cells; ///< by store id
    std::string rival;                        ///< id of the best rival; may be empty
    std::optional<double> ratio;              ///< factor by which the plug-in is better than the rival
};

/// Summarizes the successful repetitions, in the order of the kinds.
std::vector<SummaryRow> summarize(const std::vector<RowKind>& kinds,
                                  const std::vector<Repetition>& repetitions,
                                  const std::vector<Contender>& stores);

} // namespace storage::benchmark
