#pragma once

#include "benchmarks/report/Summary.h"

#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// Writes the data of the plots: a folder for each row kind with sizes, in it a file for each store with
/// lines "size value".
void writePlotData(const std::vector<SummaryRow>& rows, const std::filesystem::path& folder);

} // namespace storage::benchmark
