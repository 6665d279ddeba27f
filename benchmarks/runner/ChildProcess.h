#pragma once

#include <string>
#include <vector>

namespace storage::benchmark {

/// What has become of a process that ran to its end. A value.
struct ChildProcess {
    std::string output;          ///< what it wrote to its standard output
    double seconds = 0;          ///< that it lived
    double processorSeconds = 0; ///< that it computed
    bool succeeded = false;

    /// Runs this program once more, with other arguments. It dies with this process.
    /// @throws Interrupted, after the other process was stopped
    static ChildProcess run(const std::vector<std::string>& arguments);
};

} // namespace storage::benchmark
