#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// Runs the program in a child process from start to end. Signals have their default action in it.
class ProgramRun {
public:
    /// Runs in the child process just before exec.
    using Preparation = std::function<void()>;
    /// Runs in the test process while the program runs.
    using Companion = std::function<void(pid_t process)>;

    /// @param arguments  without the program's name
    /// @param input      content of its standard input
    ProgramRun(
        const std::vector<std::string>& arguments, const std::string& input = "",
        const Preparation& prepare = [] {}, const Companion& meanwhile = [](pid_t) {});

    /// The exit status; -N if signal N ended the program.
    int status() const { return status_; }
    const std::string& output() const { return output_; }
    const std::string& errors() const { return errors_; }

private:
    int status_ = -1;
    std::string output_;
    std::string errors_;
};
