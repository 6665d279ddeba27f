#pragma once

#include "benchmarks/workload/Form.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// Command-line options of the program. A value.
struct BenchmarkOptions {
    Form form = Form::Full;
    unsigned repetitions = 5;
    std::string only = "*";          ///< pattern of scenario names
    std::vector<std::string> stores; ///< ids of stores; empty for all
    std::string plugin;
    std::string command = "qzstorage_benchmark"; ///< as recorded in the results
    std::string results;                         ///< output files and folders; empty for none
    std::string runs;
    std::string table;
    std::string data;
    std::string help; ///< text of --help; empty unless requested

    // Internal options, with which the program runs one repetition in another process:
    std::string scenario; ///< empty if started by a user
    std::string tmpfsFolder;

    /// @throws CLI::ParseError
    static BenchmarkOptions parse(int argc, char** argv);
};

} // namespace storage::benchmark
