#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>

namespace storage::benchmark {

namespace {

constexpr std::uint64_t kibibyte = 1 << 10;
constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;

std::vector<Scenario> fullTable() {
    return {
        folderScenario("1k", 1'000, 200),
        folderScenario("10k", 10'000, 20),
        folderScenario("100k", 100'000, 2),
        folderScenario("1M", 1'000'000, 1),
        removalScenario("1k", 1'000, 200),
        removalScenario("10k", 10'000, 20),
        removalScenario("100k", 100'000, 2),
        removalScenario("1M", 1'000'000, 1),
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
        readingThreadsScenario(0.4, 64 * mebibyte),
        growingFolderScenario("4M", 4'000'000),
    };
}

std::vector<Scenario> shortTable() {
    return {
        folderScenario("1k", 1'000, 1),
        removalScenario("1k", 1'000, 1),
        treeScenario(5),
        longPathsScenario(5),
        smallFilesScenario("100-bytes", 100, 100, 1'000),
        smallFilesScenario("4-KiB", 4096, 100, 1'000),
        appendScenario(1'000),
        bigFileScenario("128KiB", 128 * kibibyte, mebibyte),
        bigFileScenario("1MiB", mebibyte, mebibyte),
        moveFolderScenario("1k", 1'000, 2),
        treeThreadsScenario(0.01),
        readingThreadsScenario(0.01, mebibyte),
        growingFolderScenario("1k", 1'000),
    };
}

void addMemoryScenarios(std::vector<Scenario>& all, std::uint32_t files) {
    all.push_back(memoryScenario("short-names", "f", files, 0));
    all.push_back(memoryScenario("16-character-names", "entry-name-", files, 0));
    all.push_back(memoryScenario("24-character-names", "entry-with-longname", files, 0));
    all.push_back(memoryScenario("100-bytes", "f", files, 100));
}

/// With one thread, two, four and so on, and with `mostThreads`.
void addCoresScenarios(std::vector<Scenario>& all, unsigned mostThreads, std::uint32_t lookUps,
                       std::uint32_t creations) {
    for (unsigned threads = 1; threads <= mostThreads;
         threads = std::max(threads + 1, std::min(2 * threads, mostThreads))) {
        all.push_back(coresScenario(threads, lookUps, creations));
    }
}

} // namespace

std::vector<Scenario> scenarioTable(Form form, unsigned mostThreads) {
    const bool isFull = form == Form::Full;
    std::vector<Scenario> all = isFull ? fullTable() : shortTable();
    addMemoryScenarios(all, isFull ? 1'000'000 : 10'000);
    addCoresScenarios(all, mostThreads, isFull ? 400'000 : 400, isFull ? 50'000 : 50);
    return all;
}

} // namespace storage::benchmark
