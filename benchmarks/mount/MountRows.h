#pragma once

#include "benchmarks/report/RowKind.h"

#include <vector>

namespace storage::benchmark {

/// Every row kind of the jobs, in the order of the table.
const std::vector<RowKind>& mountRowKinds();

} // namespace storage::benchmark
