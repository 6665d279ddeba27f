#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Repeatedly renames a folder with subfolders of 100 empty files each.
class MoveFolderScenario final : public Scenario {
public:
    MoveFolderScenario(std::string variant, std::uint32_t files, std::uint32_t moves);

    std::string name() const override { return "move-folder-" + variant_; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::MoveFolder); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::uint32_t files_;
    std::uint32_t moves_;
};

} // namespace storage::benchmark
