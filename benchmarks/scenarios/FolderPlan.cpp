#include "benchmarks/scenarios/FolderPlan.h"

#include "benchmarks/workload/RandomOrder.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::benchmark {

namespace {

constexpr std::uint32_t filesInAllRounds = 200'000;
constexpr std::uint32_t mostQueries = 200'000;
constexpr std::uint32_t mostMoves = 100'000;
constexpr std::uint32_t entriesToList = 200'000;
constexpr double budgetOfAllRounds = 0.4;

void addPaths(FolderPlan& plan) {
    PathList& paths = plan.paths;
    plan.folder = paths.add("/folder");
    plan.otherFolder = paths.add("/other");
    plan.files = plan.otherFolder + 1;
    for (std::uint32_t i = 0; i < plan.count; ++i) {
        paths.add(fmt::format("/folder/f{:07}", i));
    }
    plan.missing = plan.files + plan.count;
    for (std::uint32_t i = 0; i < plan.queries; ++i) { // evenly distributed among the files
        paths.add(fmt::format("/folder/f{:07}x", i * (plan.count / plan.queries)));
    }
    plan.renamed = plan.missing + plan.queries;
    for (std::uint32_t i = 0; i < plan.moves; ++i) {
        paths.add(fmt::format("/folder/g{:07}", plan.order[i]));
    }
    plan.others = plan.renamed + plan.moves;
    for (std::uint32_t i = 0; i < plan.moves; ++i) {
        paths.add(fmt::format("/other/f{:07}", plan.order[plan.moves + i]));
    }
}

} // namespace

FolderPlan::FolderPlan(std::uint32_t fileCount)
    : count(fileCount),
      rounds(std::max(1U, filesInAllRounds / count)),
      queries(std::min(count, mostQueries)),
      listings(std::max(1U, entriesToList / count / rounds)),
      moves(std::min(count / 2, mostMoves)),
      queryBudget(budgetOfAllRounds / rounds),
      order(randomOrder(count)),
      missingOrder(randomOrder(queries)) {
    addPaths(*this);
}

} // namespace storage::benchmark
