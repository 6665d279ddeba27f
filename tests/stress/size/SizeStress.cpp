#include "tests/stress/size/AddressSpace.h"
#include "tests/stress/size/DeepTree.h"
#include "tests/stress/size/LargeFile.h"
#include "tests/stress/size/Mebibyte.h"
#include "tests/stress/size/MovedFolders.h"
#include "tests/stress/size/WideFolder.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

namespace storage::stress {

namespace {

struct Sizes {
    unsigned long files;                  ///< in the wide folder
    unsigned long branches;               ///< of folders to be moved
    std::vector<std::int64_t> largeFiles; ///< in bytes
};

constexpr std::int64_t gibibyte = std::int64_t{1} << 30;

// 130 MiB: just above a size at which the capacity grows.
const Sizes longForm{1'000'000, 1000, {64 * mebibyte, 130 * mebibyte, gibibyte, 6 * gibibyte}};
const Sizes shortForm{100'000, 100, {64 * mebibyte, 130 * mebibyte}};

/// Prints progress if the error stream is a terminal.
void announce(const char* what) {
    if (::isatty(STDERR_FILENO) == 1) {
        std::fprintf(stderr, "%s ...\n", what);
    }
}

void run(const Sizes& sizes) {
    announce("limited address space");
    AddressSpace().run();
    announce("wide folder");
    WideFolder(sizes.files).run();
    announce("moved folders");
    MovedFolders(sizes.branches).run();
    announce("deep tree");
    DeepTree().run();
    for (const std::int64_t size : sizes.largeFiles) {
        announce("large file");
        LargeFile(size).run();
    }
}

} // namespace

} // namespace storage::stress

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // line buffered, so that a crash loses no line
    CLI::App options(
        "Stress test of the provider: limited address space, many entries, deep trees, large files.");
    bool isShort = false;
    options.add_flag(
        "--short", isShort,
        "Use a tenth of the files and folders, and large files of at most 130 MiB instead of 6 GiB");
    CLI11_PARSE(options, argc, argv);
    try {
        storage::stress::run(isShort ? storage::stress::shortForm : storage::stress::longForm);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "size_stress: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
