#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace storage::benchmark {

/// Reads and overwrites small files of one size. Each operation opens and closes a file.
class SmallFilesScenario final : public Scenario {
public:
    /// @param variant  name of the size in the rows
    SmallFilesScenario(std::string variant, std::size_t fileSize, std::uint32_t files,
                       std::uint32_t operations);

    std::string name() const override { return "small-files-" + variant_; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::ReadFile); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::size_t fileSize_;
    std::uint32_t files_;
    std::uint32_t operations_;
};

} // namespace storage::benchmark
