#pragma once

#include "benchmarks/mount/SourceTree.h"
#include "benchmarks/results/Measurements.h"

#include <filesystem>
#include <string>

namespace storage::benchmark {

/// A timed and verified workload in a folder. Runs once per process, in an empty folder.
class Job {
public:
    Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;
    virtual ~Job() = default;

    virtual std::string name() const = 0;

    /// @throws WrongResult, and std::system_error of system calls
    virtual void run(const std::filesystem::path& folder, const SourceTree& source,
                     Measurements& measurements) const = 0;
};

} // namespace storage::benchmark
