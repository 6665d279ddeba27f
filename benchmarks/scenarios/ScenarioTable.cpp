#include "benchmarks/scenarios/ScenarioTable.h"

#include "benchmarks/scenarios/AppendScenario.h"
#include "benchmarks/scenarios/BigFileScenario.h"
#include "benchmarks/scenarios/FolderScenario.h"
#include "benchmarks/scenarios/MemoryScenario.h"
#include "benchmarks/scenarios/MoveFolderScenario.h"
#include "benchmarks/scenarios/RemovalScenario.h"
#include "benchmarks/scenarios/SmallFilesScenario.h"
#include "benchmarks/scenarios/ThreadsScenario.h"
#include "benchmarks/scenarios/TreeScenario.h"

#include <utility>

namespace storage::benchmark {

namespace {

using Scenarios = std::vector<std::unique_ptr<Scenario>>;

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;

template <typename ScenarioType, typename... Arguments>
void add(Scenarios& scenarios, Arguments&&... arguments) {
    scenarios.push_back(std::make_unique<ScenarioType>(std::forward<Arguments>(arguments)...));
}

Scenarios fullTable() {
    Scenarios all;
    add<FolderScenario>(all, "1k", 1'000U);
    add<FolderScenario>(all, "10k", 10'000U);
    add<FolderScenario>(all, "100k", 100'000U);
    add<FolderScenario>(all, "1M", 1'000'000U);
    add<RemovalScenario>(all, "1k", 1'000U);
    add<RemovalScenario>(all, "10k", 10'000U);
    add<RemovalScenario>(all, "100k", 100'000U);
    add<RemovalScenario>(all, "1M", 1'000'000U);
    add<TreeScenario>(all, 1'000U);
    add<SmallFilesScenario>(all, "100-bytes", 100U, 100'000U, 400'000U);
    add<SmallFilesScenario>(all, "4-KiB", 4096U, 20'000U, 100'000U);
    add<AppendScenario>(all, 1'000'000U);
    add<BigFileScenario>(all, "1MiB", mebibyte, gibibyte);
    add<BigFileScenario>(all, "16MiB", 16 * mebibyte, gibibyte);
    add<BigFileScenario>(all, "128MiB", 128 * mebibyte, gibibyte);
    add<BigFileScenario>(all, "1GiB", gibibyte, gibibyte);
    add<MoveFolderScenario>(all, "10k", 10'000U, 20U);
    add<MoveFolderScenario>(all, "100k", 100'000U, 4U);
    add<ThreadsScenario>(all, 0.4);
    add<MemoryScenario>(all, "short-names", "f", 1'000'000U, 0U);
    add<MemoryScenario>(all, "16-character-names", "entry-name-", 1'000'000U, 0U);
    add<MemoryScenario>(all, "100-bytes", "f", 1'000'000U, 100U);
    return all;
}

Scenarios shortTable() {
    Scenarios all;
    add<FolderScenario>(all, "1k", 1'000U);
    add<FolderScenario>(all, "10k", 10'000U);
    add<RemovalScenario>(all, "1k", 1'000U);
    add<TreeScenario>(all, 100U);
    add<SmallFilesScenario>(all, "100-bytes", 100U, 1'000U, 10'000U);
    add<SmallFilesScenario>(all, "4-KiB", 4096U, 1'000U, 10'000U);
    add<AppendScenario>(all, 100'000U);
    add<BigFileScenario>(all, "1MiB", mebibyte, 16 * mebibyte);
    add<BigFileScenario>(all, "16MiB", 16 * mebibyte, 16 * mebibyte);
    add<MoveFolderScenario>(all, "1k", 1'000U, 20U);
    add<ThreadsScenario>(all, 0.05);
    add<MemoryScenario>(all, "short-names", "f", 50'000U, 0U);
    add<MemoryScenario>(all, "16-character-names", "entry-name-", 50'000U, 0U);
    add<MemoryScenario>(all, "100-bytes", "f", 50'000U, 100U);
    return all;
}

} // namespace

std::vector<std::unique_ptr<Scenario>> scenarioTable(Form form) {
    return form == Form::Full ? fullTable() : shortTable();
}

} // namespace storage::benchmark
