#include "tests/trials/size/DeepTree.h"
#include "tests/trials/size/LargeFile.h"
#include "tests/trials/size/MovedFolders.h"
#include "tests/trials/size/WideFolder.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace storage::trials {

namespace {

struct Sizes {
    unsigned long files;    ///< of the wide folder
    unsigned long branches; ///< of the folders to be moved
    std::int64_t bytes;     ///< of the large file
};

constexpr Sizes longForm{1'000'000, 1000, std::int64_t{6} << 30};
constexpr Sizes shortForm{100'000, 100, std::int64_t{256} << 20};

/// For a person who waits.
void announce(const char* what) {
    if (::isatty(STDERR_FILENO) == 1) {
        std::fprintf(stderr, "%s ...\n", what);
    }
}

void run(const Sizes& sizes) {
    announce("wide folder");
    WideFolder(sizes.files).run();
    announce("moved folders");
    MovedFolders(sizes.branches).run();
    announce("deep tree");
    DeepTree().run();
    announce("large file");
    LargeFile(sizes.bytes).run();
}

} // namespace

} // namespace storage::trials

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // a trial that crashes has told what went before
    CLI::App options("Tries the provider with many entries, deep trees and a large file.");
    bool isShort = false;
    options.add_flag("--short", isShort,
                     "100,000 files, 10,000 folders and 256 MiB in place of ten times that and 6 GiB");
    CLI11_PARSE(options, argc, argv);
    try {
        storage::trials::run(isShort ? storage::trials::shortForm : storage::trials::longForm);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "size_trial: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
