#pragma once

#include "benchmarks/report/RowKind.h"
#include "benchmarks/runner/Repetition.h"
#include "benchmarks/scenarios/RowId.h"
#include "benchmarks/stores/StoreKind.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The median of what the repetitions found for one row and one store. A value.
struct SummaryCell {
    double median = 0;
    std::size_t undisturbed = 0; ///< repetitions that the median is of; of all of them, when there is none
};

/// One row: what each store reached, and how the plug-in compares. A value.
struct SummaryRow {
    RowId row;
    RowKind kind;
    std::map<std::string, SummaryCell> cells; ///< by the store's id
    std::string rival;                        ///< the id of the best of the row's rivals; may be empty
    std::optional<double> ratio;              ///< how many times better than the rival the plug-in is
};

/// Sums up the repetitions that went well, in the order of `rowKinds`.
std::vector<SummaryRow> summarize(const std::vector<Repetition>& repetitions,
                                  const std::vector<StoreKind>& stores);

} // namespace storage::benchmark
