#include "benchmarks/mount/BlockFile.h"
#include "benchmarks/mount/FilesFolder.h"
#include "benchmarks/workload/Program.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/Rows.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
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
constexpr Sizes shortSizes{16 * mebibyte, 4 * mebibyte, 8 * mebibyte, 512, 300, 2};

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

int runProgram(int argc, char** argv) {
    bool isShort = false;
    std::string folder;
    CLI::App app(
        "Runs jobs in a folder. Each row of a job is a counter of its benchmark.\n"
        "For figures use scripts/mount-benchmark, which runs each repetition in its own process and mount.");
    app.footer("All other options are those of Google Benchmark, such as --benchmark_filter=REGEX.");
    app.add_flag("--short", isShort, "Small sizes, to test that all works");
    app.add_option("--folder", folder, "An empty folder, for one job")->type_name("PATH");
    app.allow_extras();
    CLI11_PARSE(app, argc, argv);
    const auto add = [&](const std::string& name, auto job) {
        registerScenario(name + "/folder",
                         [=](Rows& rows) { job(folder, isShort ? shortSizes : fullSizes, rows); });
    };
    add("sequential", sequential);
    add("small-writes", smallWrites);
    add("random-access", randomAccess);
    add("small-files", smallFiles);
    add("listing", listing);
    return runBenchmarks(argv[0], app.remaining());
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    try {
        return storage::benchmark::runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
