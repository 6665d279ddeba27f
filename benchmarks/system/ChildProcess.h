#pragma once

#include <string>
#include <vector>

namespace storage::benchmark {

/// The result of a process that has ended. A value.
struct ChildProcess {
    std::string output;          ///< its standard output
    double seconds = 0;          ///< wall time
    double processorSeconds = 0; ///< processor time
    bool succeeded = false;

    /// Runs a program with arguments. The child process is killed if this process ends.
    /// @throws Interrupted, after the child was stopped
    static ChildProcess run(std::vector<std::string> command);

    /// Runs this program again with other arguments.
    static ChildProcess runSelf(std::vector<std::string> arguments);

    /// Like `run`.
    /// @throws std::runtime_error when the program fails
    static ChildProcess runSuccessfully(const std::vector<std::string>& command);
};

} // namespace storage::benchmark
