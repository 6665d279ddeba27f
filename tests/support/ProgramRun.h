#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// One run of the program as a process of its own, from start to end. It may be stopped by signals, whatever the
/// caller of the tests made of them.
class ProgramRun {
public:
    /// What a test does in the new process right before the program takes over.
    using Preparation = std::function<void()>;
    /// What a test does itself while the program runs.
    using Company = std::function<void(pid_t process)>;

    /// @param arguments  without the program's name
    /// @param input      what it reads from its standard input
    ProgramRun(
        const std::vector<std::string>& arguments, const std::string& input = "",
        const Preparation& prepare = [] {}, const Company& meanwhile = [](pid_t) {});

    /// The exit status; -N when signal N ended the program.
    int status() const { return status_; }
    const std::string& output() const { return output_; }
    const std::string& errors() const { return errors_; }

private:
    int status_ = -1;
    std::string output_;
    std::string errors_;
};
