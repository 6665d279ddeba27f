#pragma once

#include "benchmarks/workload/Form.h"

#include <string>
#include <vector>

namespace storage::benchmark {

/// What the program was asked to do. A value.
struct MountBenchmarkOptions {
    Form form = Form::Full;
    unsigned repetitions = 5;
    std::string only = "*";                            ///< jobs to run, as a pattern of their names
    std::vector<std::string> places;                   ///< ids of places to run them in; none for all
    std::string program;                               ///< the program that mounts
    std::string passThrough;                           ///< the peer
    std::string command = "qzstorage_mount_benchmark"; ///< that results name
    std::string results;                               ///< files to write; empty for none
    std::string runs;
    std::string table;
    std::string help; ///< to be printed instead of running anything; empty when not asked for

    // One repetition, which the program runs itself in another process for:
    std::string job; ///< empty for the program as people start it
    std::string folder;
    std::string source;

    /// @throws CLI::ParseError
    static MountBenchmarkOptions parse(int argc, char** argv);
};

} // namespace storage::benchmark
