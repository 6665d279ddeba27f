#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Creates files of 4 KiB in one folder, gets their attributes, renames and removes them.
class SmallFilesJob final : public Job {
public:
    /// @param statRounds  passes over all files
    SmallFilesJob(std::uint32_t files, std::uint32_t statRounds) : files_(files), statRounds_(statRounds) {}

    std::string name() const override { return "small-files"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint32_t files_;
    std::uint32_t statRounds_;
};

} // namespace storage::benchmark
