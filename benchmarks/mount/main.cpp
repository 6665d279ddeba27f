#include "benchmarks/mount/BlockFile.h"
#include "benchmarks/mount/FilesFolder.h"
#include "benchmarks/workload/Program.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/Rows.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::size_t pageSize = 4096;

/// The amount of work of the jobs.
struct Sizes {
    std::uint64_t sequential;
    std::uint64_t smallWrites;
    std::uint64_t randomAccess;
    std::uint32_t randomOperations; ///< of each kind, at most one per page
    std::uint32_t files;
    std::uint32_t rounds; ///< passes over all files
};

constexpr Sizes fullSizes{512 * mebibyte, 128 * mebibyte, 256 * mebibyte, 32'768, 10'000, 5};
constexpr Sizes shortSizes{2 * mebibyte, mebibyte / 2, mebibyte, 64, 50, 2};

void addMegabytes(Rows& rows, const std::string& row, std::size_t blockSize, const Timing& blocks) {
    rows.addRate(row, "", {blocks.operations * blockSize, blocks.seconds}, 1e6);
}

void addThousands(Rows& rows, const std::string& row, const Timing& timing) {
    rows.addRate(row, "", timing, 1e3);
}

/// Writes and reads a file in large blocks. Reads once with a cold and once with a warm page cache.
void sequential(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", mebibyte, sizes.sequential);
    addMegabytes(rows, "sequential write, 1 MiB blocks", mebibyte, file.write());
    file.dropCache();
    addMegabytes(rows, "sequential read, 1 MiB, cold", mebibyte, file.read());
    addMegabytes(rows, "sequential read, 1 MiB, once more", mebibyte, file.read());
    file.verify();
}

void smallWrites(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", pageSize, sizes.smallWrites);
    addMegabytes(rows, "sequential write, 4 KiB", pageSize, file.write());
    file.verify();
}

/// Reads and overwrites pages of one file. Reads once with a cold and once with a warm page cache.
void randomAccess(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", pageSize, sizes.randomAccess);
    std::vector<std::uint32_t> pages = randomOrder(file.count());
    pages.resize(sizes.randomOperations);
    file.write();
    file.dropCache();
    addThousands(rows, "random read, 4 KiB, cold", file.read(pages));
    addThousands(rows, "random read, 4 KiB, once more", file.read(pages));
    addThousands(rows, "random write, 4 KiB", file.overwrite(pages));
    file.verify();
}

void smallFiles(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    FilesFolder files(folder, sizes.files);
    addThousands(rows, "create files of 4 KiB", files.create());
    addThousands(rows, "stat", files.stat(sizes.rounds));
    addThousands(rows, "rename", files.rename());
    addThousands(rows, "unlink", files.unlink());
}

void listing(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    FilesFolder files(folder, sizes.files);
    files.create();
    addThousands(rows, "readdir, entries", files.list(sizes.rounds));
    addThousands(rows, "readdir with stat, entries", files.listWithAttributes(sizes.rounds));
}

/// Options: --short, --folder=PATH (empty, for one job).
int runJobs(Program& program) {
    const Sizes& sizes = program.takeFlag("short") ? shortSizes : fullSizes;
    const std::filesystem::path folder = program.takeOption("folder");
    if (!program.onlyLists() && !std::filesystem::is_directory(folder)) {
        throw std::runtime_error("--folder=PATH must name an empty folder");
    }
    const auto add = [&](const std::string& name, auto job) {
        registerScenario(name + "/folder", [=, &sizes](Rows& rows) { job(folder, sizes, rows); });
    };
    add("sequential", sequential);
    add("small-writes", smallWrites);
    add("random-access", randomAccess);
    add("small-files", smallFiles);
    add("listing", listing);
    return program.run();
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::guardedMain(argc, argv, storage::benchmark::runJobs);
}
