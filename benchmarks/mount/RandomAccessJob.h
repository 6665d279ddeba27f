#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Pages of one file read and overwritten in an order that looks random: read as the first program that does so, and once
/// more.
class RandomAccessJob final : public Job {
public:
    /// @param operations  of each kind, at most one for a page
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
