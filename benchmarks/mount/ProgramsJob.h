#pragma once

#include "benchmarks/mount/Job.h"

namespace storage::benchmark {

/// What people do with trees of source files: clone, ask for the status, unpack, remove.
class ProgramsJob final : public Job {
public:
    std::string name() const override { return "programs"; }
    void run(const std::filesystem::path& folder, const SourceTree& source,
             Measurements& measurements) const override;
};

} // namespace storage::benchmark
