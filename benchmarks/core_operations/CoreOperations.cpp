#include "benchmarks/core_operations/AllocationCounter.h"
#include "benchmarks/core_operations/Operations.h"
#include "benchmarks/core_operations/StoppedClock.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/support/LoadedPlugin.h"

#include <CLI/CLI.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace storage::core_operations {

namespace {

using provider::StorageIRI;

using Preparation = Measurement(const IProvider& storage);

const std::map<std::string, Preparation*> preparations{
    {"append_64_bytes", appendToFile},
    {"append_at_position", appendAtPosition},
    {"create_file", createFile},
    {"create_file_in_tree", createFileInTree},
    {"file_attributes", fileAttributes},
    {"file_attributes_in_tree", fileAttributesInTree},
    {"list_per_entry", listFolder},
    {"missing_file", missingFile},
    {"move_file", moveFile},
    {"move_folder_per_entry", moveFolder},
    {"overwrite_4_kib", overwriteFile},
    {"read_4_kib", readFile},
    {"remove_file", removeFile},
};

/// The plug-in's clock has just stamped the root.
void requireStoppedClock(const IProvider& storage) {
    const auto time = storage.doGetFolderAttributes(StorageIRI(u"/")).getLastModified();
    stress::requireThat(time == boost::posix_time::from_time_t(stoppedClock),
                        "the plug-in reads another clock");
}

/// Runs the operation under Callgrind's instrumentation. Prints the number of operations, and the allocations and
/// allocated bytes per operation.
void run(Preparation& prepare) {
    const tests::LoadedPlugin plugin(QZSTORAGE_PLUGIN_PATH);
    const auto storage = plugin.build();
    requireStoppedClock(*storage);
    const Measurement measurement = prepare(*storage);
    Allocations allocations;
    {
        const AllocationCounter counter;
        CALLGRIND_START_INSTRUMENTATION;
        measurement.run();
        CALLGRIND_STOP_INSTRUMENTATION;
        allocations = AllocationCounter::counted();
    }
    measurement.check();
    const auto operations = static_cast<double>(measurement.operations);
    std::printf("%lu %.2f %.1f\n", measurement.operations,
                static_cast<double>(allocations.count) / operations,
                static_cast<double>(allocations.bytes) / operations);
}

void printNames() {
    for (const auto& [name, prepare] : preparations) {
        std::printf("%s\n", name.c_str());
    }
}

} // namespace

} // namespace storage::core_operations

int main(int argc, char** argv) {
    using namespace storage::core_operations;
    CLI::App options(
        "Runs one core operation of the plug-in many times and prints how many times, for Callgrind to\n"
        "count its instructions: only they are seen when that is started with --instr-atstart=no.\n"
        "Also prints the allocations of one operation and their bytes.");
    std::string operation;
    options
        .add_option("operation", operation,
                    "what to run; without it, the names of all operations are printed")
        ->check(CLI::IsMember(&preparations));
    CLI11_PARSE(options, argc, argv);
    try {
        operation.empty() ? printNames() : run(*preparations.at(operation));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "core_operations: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
