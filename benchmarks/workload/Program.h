#pragma once

#include "benchmarks/workload/Rows.h"

#include <functional>
#include <string>
#include <vector>

namespace storage::benchmark {

/// A program based on Google Benchmark. The scripts that run it describe its own options. Not thread-safe.
class Program {
public:
    /// Google Benchmark takes its options; the program then takes the others.
    Program(int argc, char** argv);

    /// Takes --NAME. Returns whether it was given.
    bool takeFlag(const std::string& name);

    /// Takes --NAME=VALUE. Returns VALUE; an empty string if it was not given.
    std::string takeOption(const std::string& name);

    /// Runs the registered scenarios. The results name the compiler.
    /// @throws std::runtime_error when an option was not taken
    void run();

private:
    std::vector<std::string> options_;
};

/// Adds a property of the run to the results.
void describeRun(const std::string& name, const std::string& value);

/// Registers a scenario. run(rows) is called once; an exception is reported as the benchmark's error.
void registerScenario(const std::string& name, const std::function<void(Rows&)>& run);

/// The `main` of a program. Reports an exception in one line on standard error.
int guardedMain(int argc, char** argv, void (*runProgram)(Program&));

} // namespace storage::benchmark
