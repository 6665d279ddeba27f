#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace storage::benchmark {

/// Creates many files of one size, and measures the growth of the process per file.
class MemoryScenario final : public Scenario {
public:
    /// @param namePrefix  prefix of the file names; five digits follow
    /// @param fileSize    in bytes, 0 for empty files
    MemoryScenario(std::string variant, std::string namePrefix, std::uint32_t files, std::size_t fileSize);

    std::string name() const override { return "memory-" + variant_; }
    bool suits(const StoreKind& kind) const override {
        return kind.can(fileSize_ > 0 ? Ability::Write : Ability::Create) && kind.can(Ability::LiveInProcess);
    }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::string namePrefix_;
    std::uint32_t files_;
    std::size_t fileSize_;
};

} // namespace storage::benchmark
