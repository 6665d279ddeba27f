#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Writes, overwrites and reads files of one size in blocks of 64 KiB. The total number of bytes is the same
/// for every size. If that is one file, it is also read at random.
class BigFileScenario final : public Scenario {
public:
    BigFileScenario(std::string variant, std::uint64_t fileSize, std::uint64_t allSizes);

    std::string name() const override { return "big-file-" + variant_; }
    bool suits(const StoreKind& kind) const override { return kind.can(Ability::Read); }
    void run(const StoreKind& kind, Measurements& measurements) const override;

private:
    std::string variant_;
    std::uint64_t fileSize_;
    std::uint64_t allSizes_;
};

} // namespace storage::benchmark
