#include "benchmarks/scenarios/MemoryScenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <fstream>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

/// Resident memory of this process in bytes.
std::uint64_t residentBytes() {
    std::uint64_t all = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

MemoryScenario::MemoryScenario(std::string variant, std::string namePrefix, std::uint32_t files,
                               std::size_t fileSize)
    : variant_(std::move(variant)), namePrefix_(std::move(namePrefix)), files_(files), fileSize_(fileSize) {}

void MemoryScenario::run(const StoreKind& kind, Measurements& measurements) const {
    PathList paths; // outlives the measurement, so that no store can reuse its memory
    for (std::uint32_t i = 0; i < files_; ++i) {
        paths.add(fmt::format("/{}{:05x}", namePrefix_, i));
    }
    const auto store = kind.build();
    store->prepare(paths.all());
    const std::string content(fileSize_, 'x');
    const std::uint64_t before = residentBytes();
    for (PathIndex file = 0; file < files_; ++file) {
        if (fileSize_ == 0) {
            store->createFile(file);
        } else {
            store->createStream(file, fileSize_)->write(content.data(), fileSize_);
        }
    }
    const std::uint64_t after = residentBytes();
    std::uint64_t found = 0;
    for (PathIndex file = 0; file < files_; ++file) {
        found += store->exists(file) && store->fileSize(file) == fileSize_ ? 1 : 0;
    }
    expectEqual(found, files_, "the number of files of the right size");
    measurements.add({"memory", variant_}, static_cast<double>(after - before) / files_);
}

} // namespace storage::benchmark
