#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Small sequential writes through one stream.
class AppendScenario final : public Scenario {
public:
    explicit AppendScenario(std::uint32_t writes);

    std::string name() const override { return "append"; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::Append); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::uint32_t writes_;
};

} // namespace storage::benchmark
