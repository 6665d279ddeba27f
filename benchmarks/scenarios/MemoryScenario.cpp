#include "benchmarks/scenarios/Scenario.h"

#include <fstream>
#include <unistd.h>

namespace storage::benchmark {

namespace {

/// Resident memory of this process in bytes.
double residentBytes() {
    std::uint64_t all = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

} // namespace

void runMemory(const StoreKind& kind, Rows& rows, const std::string& variant, const std::string& namePrefix,
               std::uint32_t files, std::size_t fileSize) {
    PathList paths; // outlives the measurement, so that no store can reuse its memory
    for (std::uint32_t i = 0; i < files; ++i) {
        paths.add(fmt::format("/{}{:05x}", namePrefix, i));
    }
    const auto store = kind.build(paths.all());
    const std::string content(fileSize, 'x');
    const double before = residentBytes();
    for (PathIndex file = 0; file < files; ++file) {
        if (fileSize == 0) {
            store->createFile(file);
        } else {
            store->open(file, Use::Create, fileSize)->write(content.data(), fileSize);
        }
    }
    const double growth = residentBytes() - before;
    std::uint64_t found = 0;
    for (PathIndex file = 0; file < files; ++file) {
        found += store->exists(file) && store->fileSize(file) == fileSize ? 1 : 0;
    }
    expectEqual(found, files, "the number of files of the right size");
    rows.add("memory", variant, growth / files);
}

} // namespace storage::benchmark
