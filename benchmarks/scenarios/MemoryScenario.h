#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Many empty files: how much the process grows for each of them.
class MemoryScenario final : public Scenario {
public:
    /// @param namePrefix  of the names of the files, which five digits follow
    MemoryScenario(std::string variant, std::string namePrefix, std::uint32_t files);

    std::string name() const override { return "memory-" + variant_; }
    bool suits(const StoreKind& kind) const override {
        return kind.can(Ability::Create) && kind.can(Ability::LiveInProcess);
    }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::string namePrefix_;
    std::uint32_t files_;
};

} // namespace storage::benchmark
