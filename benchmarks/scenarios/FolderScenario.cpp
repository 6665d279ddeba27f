#include "benchmarks/scenarios/FolderScenario.h"

#include "benchmarks/scenarios/FolderRound.h"

#include <utility>

namespace storage::benchmark {

FolderScenario::FolderScenario(std::string variant, std::uint32_t count)
    : variant_(std::move(variant)), count_(count) {}

void FolderScenario::run(const StoreKind& kind, Measurements& measurements) const {
    const FolderPlan plan(count_);
    for (std::uint32_t i = 0; i < plan.rounds; ++i) {
        FolderRound(kind, plan, variant_, measurements).run();
    }
}

} // namespace storage::benchmark
