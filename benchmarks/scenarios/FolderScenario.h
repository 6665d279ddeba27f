#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Creates, looks up, lists and moves files in one folder. Each round uses a new store.
class FolderScenario final : public Scenario {
public:
    FolderScenario(std::string variant, std::uint32_t count);

    std::string name() const override { return "folder-" + variant_; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::Create); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::uint32_t count_;
};

} // namespace storage::benchmark
