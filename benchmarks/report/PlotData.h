#pragma once

#include "benchmarks/report/Summary.h"

#include <filesystem>
#include <vector>

namespace storage::benchmark {

/// Writes what plots are made of: for each kind of row that has sizes a folder, in it for each store a file of
/// lines "size value".
void writePlotData(const std::vector<SummaryRow>& rows, const std::filesystem::path& folder);

} // namespace storage::benchmark
