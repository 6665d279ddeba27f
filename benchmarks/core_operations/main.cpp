#include "benchmarks/core_operations/Operations.h"
#include "benchmarks/core_operations/Replacements.h"
#include "tests/stress/Violation.h"
#include "tests/support/LoadedPlugin.h"

#include <boost/date_time/posix_time/conversion.hpp>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace storage::core_operations {

namespace {

/// Throws unless the stopped clock has stamped the root of the new storage.
void requireStoppedClock(const provider::IProvider& storage) {
    const auto time = storage.doGetFolderAttributes(provider::StorageIRI(u"/")).getLastModified();
    stress::requireThat(time == boost::posix_time::from_time_t(stoppedClock),
                        "the plug-in reads another clock");
}

/// Runs operations under Callgrind's instrumentation. Prints their number, and the allocations and allocated
/// bytes per operation.
void count(unsigned long number, const std::function<void()>& run) {
    allocations = {.isCounting = true};
    CALLGRIND_START_INSTRUMENTATION;
    run();
    CALLGRIND_STOP_INSTRUMENTATION;
    allocations.isCounting = false;
    const auto each = [number](auto sum) { return static_cast<double>(sum) / static_cast<double>(number); };
    std::printf("%lu %.2f %.1f\n", number, each(allocations.count), each(allocations.bytes));
}

} // namespace

} // namespace storage::core_operations

/// Without an argument, prints the names of all operations. With a name, runs that operation many times, for
/// `valgrind --tool=callgrind --instr-atstart=no` to count its instructions.
int main(int argc, char** argv) {
    using namespace storage::core_operations;
    try {
        if (argc > 1) {
            const storage::tests::LoadedPlugin plugin(QZSTORAGE_PLUGIN_PATH);
            const auto storage = plugin.build();
            requireStoppedClock(*storage);
            operations.at(argv[1])(*storage, count);
        } else {
            for (const auto& [name, operation] : operations) {
                std::printf("%s\n", name.c_str());
            }
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "core_operations: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
