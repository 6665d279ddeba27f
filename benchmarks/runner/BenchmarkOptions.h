#pragma once

#include "benchmarks/workload/Form.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// What the program was asked to do. A value.
struct BenchmarkOptions {
    Form form = Form::Full;
    unsigned repetitions = 5;
    std::string only = "*";          ///< scenarios to run, as a pattern of their names
    std::vector<std::string> stores; ///< ids of stores to run; none for all
    std::string plugin;
    std::string command = "qzstorage_benchmark"; ///< that results name
    std::string results;                         ///< files and folders to write; empty for none
    std::string runs;
    std::string table;
    std::string data;
    std::string help; ///< to be printed instead of running anything; empty when not asked for

    // One repetition, which the program runs itself in another process for:
    std::string scenario; ///< empty for the program as people start it
    std::string tmpfsFolder;

    /// @throws CLI::ParseError
    static BenchmarkOptions parse(int argc, char** argv);
};

} // namespace storage::benchmark
