#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Files of 4 KiB, each operation opening and releasing one of them.
class SmallFilesScenario final : public Scenario {
public:
    SmallFilesScenario(std::uint32_t files, std::uint32_t operations);

    std::string name() const override { return "small-files"; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::ReadFile); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::uint32_t files_;
    std::uint32_t operations_;
};

} // namespace storage::benchmark
