#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Removes files of one folder one by one, the first half in the order of their creation. Runs in its own
/// process, so that the heap contains nothing but these files.
class RemovalScenario final : public Scenario {
public:
    RemovalScenario(std::string variant, std::uint32_t count);

    std::string name() const override { return "remove-" + variant_; }
    bool suits(const StoreKind& kind) const override {
        return kind.can(Ability::Create) && kind.can(Ability::Remove);
    }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::uint32_t count_;
};

} // namespace storage::benchmark
