#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Many folders with a few files each. All paths are long and have long common prefixes.
class TreeScenario final : public Scenario {
public:
    explicit TreeScenario(std::uint32_t folders);

    std::string name() const override { return "tree"; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::Create); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::uint32_t folders_;
};

} // namespace storage::benchmark
