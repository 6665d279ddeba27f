#include "benchmarks/scenarios/RemovalScenario.h"

#include "benchmarks/scenarios/FolderRound.h"

#include <utility>

namespace storage::benchmark {

RemovalScenario::RemovalScenario(std::string variant, std::uint32_t count)
    : variant_(std::move(variant)), count_(count) {}

void RemovalScenario::run(const StoreKind& kind, Measurements& measurements) const {
    const FolderPlan plan(count_);
    for (std::uint32_t i = 0; i < plan.rounds; ++i) {
        FolderRound(kind, plan, variant_, measurements).runRemovals();
    }
}

} // namespace storage::benchmark
