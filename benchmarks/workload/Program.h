#pragma once

#include "benchmarks/workload/Rows.h"

#include <functional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// A program of Google Benchmark with its arguments. The program removes its own options and passes the
/// others to Google Benchmark. Not thread-safe.
class Program {
public:
    Program(int argc, char** argv) : arguments_(argv, argv + argc) {}

    /// Takes --NAME from the arguments. Returns whether it was given.
    bool takeFlag(const std::string& name);

    /// Takes --NAME=VALUE. Returns VALUE; an empty string if it was not given.
    std::string takeOption(const std::string& name);

    /// Whether the program only lists its benchmarks.
    bool onlyLists() const;

    /// Runs the registered benchmarks. The results name the compiler.
    /// @return the exit status
    int run();

private:
    std::vector<std::string> arguments_;
};

/// Adds a property of the run to the results.
void describeRun(const std::string& name, const std::string& value);

/// Registers a scenario. run(rows) is called once; an exception is reported as the benchmark's error.
void registerScenario(const std::string& name, const std::function<void(Rows&)>& run);

/// The `main` of a program: returns the status of `runProgram`. Reports an exception in one line on standard
/// error.
int guardedMain(int argc, char** argv, int (*runProgram)(Program&));

} // namespace storage::benchmark
