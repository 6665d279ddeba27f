#pragma once

#include "benchmarks/mount/Job.h"

namespace storage::benchmark {

/// Typical work with source trees: clone, status, unpack, remove.
class ProgramsJob final : public Job {
public:
    std::string name() const override { return "programs"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;
};

} // namespace storage::benchmark
