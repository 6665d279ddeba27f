#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Files of 4 KiB in one folder: created, asked for their attributes, renamed and removed.
class SmallFilesJob final : public Job {
public:
    /// @param statRounds  over all files
    SmallFilesJob(std::uint32_t files, std::uint32_t statRounds) : files_(files), statRounds_(statRounds) {}

    std::string name() const override { return "small-files"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint32_t files_;
    std::uint32_t statRounds_;
};

} // namespace storage::benchmark
