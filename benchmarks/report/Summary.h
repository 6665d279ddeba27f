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

/// What the repetitions found for one row and one store. A value.
struct SummaryCell {
    double median = 0;
    double smallest = 0;
    double largest = 0;
    std::size_t repetitions = 0;
    std::size_t undisturbed = 0; ///< repetitions that the figures are of; if there is none, they are of all
};

/// One row: what each store reached, and how the plug-in compares. A value.
struct SummaryRow {
    RowId row;
    RowKind kind;
    std::map<std::string, SummaryCell> cells; ///< by the store's id
    std::string rival;                        ///< the id of the best of the row's rivals; may be empty
    std::optional<double> ratio;              ///< how many times better than the rival the plug-in is
};

/// Sums up the repetitions that went well, in the order of the kinds.
std::vector<SummaryRow> summarize(const std::vector<RowKind>& kinds,
                                  const std::vector<Repetition>& repetitions,
                                  const std::vector<Contender>& stores);

} // namespace storage::benchmark
