#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Writes a file sequentially in blocks of 4 KiB.
class SmallWritesJob final : public Job {
public:
    explicit SmallWritesJob(std::uint64_t fileSize) : fileSize_(fileSize) {}

    std::string name() const override { return "small-writes"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint64_t fileSize_;
};

} // namespace storage::benchmark
