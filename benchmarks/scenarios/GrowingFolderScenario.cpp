#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>
#include <chrono>

namespace storage::benchmark {

namespace {

/// Calls operation(path) for all files, in the given order, and adds the distribution of the latencies. The
/// clock is read once per call.
template <typename Operation>
void addLatencies(Rows& rows, const std::string& row, const std::string& variant,
                  const std::vector<std::uint32_t>& files, PathIndex firstFile, Operation operation) {
    std::vector<std::uint32_t> nanoseconds;
    nanoseconds.reserve(files.size());
    auto last = std::chrono::steady_clock::now();
    for (const std::uint32_t file : files) {
        operation(firstFile + file);
        const auto now = std::chrono::steady_clock::now();
        nanoseconds.push_back(static_cast<std::uint32_t>(
            std::min<std::int64_t>((now - last) / std::chrono::nanoseconds(1), UINT32_MAX)));
        last = now;
    }
    std::sort(nanoseconds.begin(), nanoseconds.end());
    for (const auto& [name, quantile] :
         {std::pair{"p50", 0.5}, {"p99", 0.99}, {"p99.99", 0.9999}, {"max", 1.0}}) {
        const auto index = static_cast<std::size_t>(quantile * static_cast<double>(nanoseconds.size() - 1));
        rows.add(row + " in a growing folder, " + name, variant, nanoseconds[index]);
    }
}

} // namespace

void runGrowingFolder(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count) {
    PathList paths;
    const PathIndex folder = paths.add("/folder");
    paths.addFiles("/folder", count);
    const std::vector<std::uint32_t> order = randomOrder(count);
    const auto store = kind.build(paths.all());
    store->createFolder(folder);
    const auto add = [&](const char* row, auto operation) {
        addLatencies(rows, row, variant, order, folder + 1, operation);
    };
    add("create", [&](PathIndex file) { store->createFile(file); });
    expectEqual(store->list(folder).entries, count, "files in the folder after creating all");
    std::uint64_t sizes = 0;
    add("look up", [&](PathIndex file) { sizes += store->fileSize(file); });
    expectEqual(sizes, 0, "the total size of empty files");
    if (kind.can(Ability::ChangeFiles)) {
        add("remove", [&](PathIndex file) { store->removeFile(file); });
        expectEqual(store->list(folder).entries, 0, "files in the folder after removing all");
    }
}

} // namespace storage::benchmark
