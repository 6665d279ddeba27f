#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr PathIndex folder = 0;
constexpr PathIndex firstFile = 1;

using Latencies = std::vector<std::uint32_t>; ///< in nanoseconds, each with one reading of the clock

template <typename Operation>
Latencies latenciesOf(const std::vector<std::uint32_t>& files, Operation operation) {
    Latencies latencies;
    latencies.reserve(files.size());
    auto last = std::chrono::steady_clock::now();
    for (const std::uint32_t file : files) {
        operation(firstFile + file);
        const auto now = std::chrono::steady_clock::now();
        latencies.push_back(static_cast<std::uint32_t>(
            std::min<std::int64_t>((now - last) / std::chrono::nanoseconds(1), UINT32_MAX)));
        last = now;
    }
    return latencies;
}

void addDistribution(Rows& rows, const std::string& operation, const std::string& variant,
                     Latencies latencies) {
    std::sort(latencies.begin(), latencies.end());
    for (const auto& [name, quantile] :
         {std::pair{"p50", 0.5}, {"p99", 0.99}, {"p99.99", 0.9999}, {"max", 1.0}}) {
        const auto index = static_cast<std::size_t>(quantile * static_cast<double>(latencies.size() - 1));
        rows.add(operation + " in a growing folder, " + name, variant, latencies[index]);
    }
}

void runGrowingFolder(const StoreKind& kind, const std::string& variant, std::uint32_t count, Rows& rows) {
    PathList paths;
    paths.add("/folder");
    for (std::uint32_t i = 0; i < count; ++i) {
        paths.add(fmt::format("/folder/f{:07}", i));
    }
    const std::vector<std::uint32_t> order = randomOrder(count);
    const auto store = kind.build();
    store->prepare(paths.all());
    store->createFolder(folder);
    addDistribution(rows, "create", variant,
                    latenciesOf(order, [&](PathIndex file) { store->createFile(file); }));
    expectEqual(store->list(folder).entries, count, "files that were created");
    std::uint64_t sizes = 0;
    addDistribution(rows, "look up", variant,
                    latenciesOf(order, [&](PathIndex file) { sizes += store->fileSize(file); }));
    expectEqual(sizes, 0, "the sum of the sizes of empty files");
    if (kind.can(Ability::Remove)) {
        addDistribution(rows, "remove", variant,
                        latenciesOf(order, [&](PathIndex file) { store->removeFile(file); }));
        expectEqual(store->list(folder).entries, 0, "files that were all removed");
    }
}

} // namespace

Scenario growingFolderScenario(const std::string& variant, std::uint32_t count) {
    return {"growing-folder-" + variant,
            {Ability::Create, Ability::LiveInProcess},
            [=](const StoreKind& kind, Rows& rows) { runGrowingFolder(kind, variant, count, rows); }};
}

} // namespace storage::benchmark
