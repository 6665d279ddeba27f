#pragma once

#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/Form.h"

#include <memory>
#include <vector>

namespace storage::benchmark {

/// Every scenario, in the order of the result table.
std::vector<std::unique_ptr<Scenario>> scenarioTable(Form form);

} // namespace storage::benchmark
