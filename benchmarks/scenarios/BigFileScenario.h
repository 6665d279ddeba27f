#pragma once

#include "benchmarks/scenarios/Scenario.h"

#include <cstdint>

namespace storage::benchmark {

/// Files of one size, written, overwritten and read in blocks of 64 KiB. There are as many of them as make the
/// same number of bytes at every size; where that is one file, it is read at random too.
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
