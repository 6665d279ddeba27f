#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Reads and overwrites pages of one file in random order. Reads once with a cold and once with a warm page
/// cache.
class RandomAccessJob final : public Job {
public:
    /// @param operations  of each kind, at most one per page
    RandomAccessJob(std::uint64_t fileSize, std::uint32_t operations)
        : fileSize_(fileSize), operations_(operations) {}

    std::string name() const override { return "random-access"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint64_t fileSize_;
    std::uint32_t operations_;
};

} // namespace storage::benchmark
