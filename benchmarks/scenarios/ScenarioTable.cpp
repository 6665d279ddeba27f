#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>

namespace storage::benchmark {

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;

std::vector<Scenario> fullTable() {
    return {
        folderScenario("1k", 1'000),
        folderScenario("10k", 10'000),
        folderScenario("100k", 100'000),
        folderScenario("1M", 1'000'000),
        removalScenario("1k", 1'000),
        removalScenario("10k", 10'000),
        removalScenario("100k", 100'000),
        removalScenario("1M", 1'000'000),
        treeScenario(1'000),
        longPathsScenario(1'000),
        smallFilesScenario("100-bytes", 100, 100'000, 400'000),
        smallFilesScenario("4-KiB", 4096, 20'000, 100'000),
        appendScenario(1'000'000),
        bigFileScenario("1MiB", mebibyte, gibibyte),
        bigFileScenario("16MiB", 16 * mebibyte, gibibyte),
        bigFileScenario("128MiB", 128 * mebibyte, gibibyte),
        bigFileScenario("1GiB", gibibyte, gibibyte),
        moveFolderScenario("10k", 10'000, 20),
        moveFolderScenario("100k", 100'000, 4),
        treeThreadsScenario(0.4),
        readingThreadsScenario(0.4),
        memoryScenario("short-names", "f", 1'000'000, 0),
        memoryScenario("16-character-names", "entry-name-", 1'000'000, 0),
        memoryScenario("24-character-names", "entry-with-longname", 1'000'000, 0),
        memoryScenario("100-bytes", "f", 1'000'000, 100),
        growingFolderScenario("4M", 4'000'000),
    };
}

std::vector<Scenario> shortTable() {
    return {
        folderScenario("1k", 1'000),
        folderScenario("10k", 10'000),
        removalScenario("1k", 1'000),
        treeScenario(100),
        longPathsScenario(100),
        smallFilesScenario("100-bytes", 100, 1'000, 10'000),
        smallFilesScenario("4-KiB", 4096, 1'000, 10'000),
        appendScenario(100'000),
        bigFileScenario("1MiB", mebibyte, 16 * mebibyte),
        bigFileScenario("16MiB", 16 * mebibyte, 16 * mebibyte),
        moveFolderScenario("1k", 1'000, 20),
        treeThreadsScenario(0.05),
        readingThreadsScenario(0.05),
        memoryScenario("short-names", "f", 50'000, 0),
        memoryScenario("16-character-names", "entry-name-", 50'000, 0),
        memoryScenario("24-character-names", "entry-with-longname", 50'000, 0),
        memoryScenario("100-bytes", "f", 50'000, 100),
        growingFolderScenario("20k", 20'000),
    };
}

} // namespace

std::vector<Scenario> scenarioTable(Form form, unsigned mostThreads) {
    std::vector<Scenario> all = form == Form::Full ? fullTable() : shortTable();
    for (unsigned threads = 1; threads <= mostThreads;
         threads = std::max(threads + 1, std::min(2 * threads, mostThreads))) {
        all.push_back(form == Form::Full ? coresScenario(threads, 400'000, 50'000)
                                         : coresScenario(threads, 4'000, 500));
    }
    return all;
}

} // namespace storage::benchmark
