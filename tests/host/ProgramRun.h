#pragma once

#include <functional>
#include <string>
#include <vector>

/// One run of the program as a process of its own, from start to end.
class ProgramRun {
public:
    /// What a test does in the new process right before the program takes over.
    using Preparation = std::function<void()>;

    /// @param arguments  without the program's name
    /// @param input      what it reads from its standard input
    ProgramRun(
        const std::vector<std::string>& arguments, const std::string& input = "",
        const Preparation& prepare = [] {});

    /// The exit status; 128 and the signal's number when one ended it.
    int status() const { return status_; }
    const std::string& output() const { return output_; }
    const std::string& errors() const { return errors_; }

private:
    int status_ = -1;
    std::string output_;
    std::string errors_;
};
