#pragma once

#include "benchmarks/mount/Job.h"

#include <cstdint>

namespace storage::benchmark {

/// Lists a folder of many files: the names only, and with the attributes of each file.
class ListingJob final : public Job {
public:
    /// @param rounds  listings of the whole folder
    ListingJob(std::uint32_t files, std::uint32_t rounds) : files_(files), rounds_(rounds) {}

    std::string name() const override { return "listing"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;

private:
    std::uint32_t files_;
    std::uint32_t rounds_;
};

} // namespace storage::benchmark
