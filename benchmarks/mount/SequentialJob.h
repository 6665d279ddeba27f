#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// A file written and read in blocks of 1 MiB: read as the first program that does so, and once more.
class SequentialJob final : public Job {
public:
    explicit SequentialJob(std::uint64_t fileSize) : fileSize_(fileSize) {}

    std::string name() const override { return "sequential"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint64_t fileSize_;
};

} // namespace storage::benchmark
