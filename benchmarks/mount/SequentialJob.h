#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Writes and reads a file in blocks of 1 MiB. Reads once with a cold and once with a warm page cache.
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
