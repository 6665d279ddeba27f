#pragma once

#include "benchmarks/mount/Job.h"
#include "benchmarks/workload/Form.h"

#include <memory>
#include <vector>

namespace storage::benchmark {

/// All jobs.
std::vector<std::unique_ptr<Job>> jobTable(Form form);

} // namespace storage::benchmark
