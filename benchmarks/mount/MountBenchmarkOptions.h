#pragma once

#include "benchmarks/workload/Form.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// Command-line options of the program. A value.
struct MountBenchmarkOptions {
    Form form = Form::Full;
    unsigned repetitions = 5;
    std::string only = "*";                            ///< pattern of job names
    std::vector<std::string> places;                   ///< ids of places; empty for all
    std::string program;                               ///< the program that mounts
    std::string passThrough;                           ///< the peer's program
    std::string command = "qzstorage_mount_benchmark"; ///< as recorded in the results
    std::string results;                               ///< output file; empty for none
    std::string runs;
    std::string table;
    std::string help; ///< text of --help; empty unless requested

    // Internal options, with which the program runs one repetition in another process:
    std::string job; ///< empty if started by a user
    std::string folder;
    std::string source;

    /// @throws CLI::ParseError
    static MountBenchmarkOptions parse(int argc, char** argv);
};

} // namespace storage::benchmark
