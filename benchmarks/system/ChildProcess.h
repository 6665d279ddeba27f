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

    /// Runs a program with arguments, which dies with this process.
    /// @throws Interrupted, after the other process was stopped
    static ChildProcess run(std::vector<std::string> command);

    /// Runs this program once more, with other arguments.
    static ChildProcess runSelf(std::vector<std::string> arguments);

    /// As `run`.
    /// @throws std::runtime_error when the program fails
    static ChildProcess runSuccessfully(const std::vector<std::string>& command);
};

} // namespace storage::benchmark
