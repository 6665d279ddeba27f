#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>
#include <type_traits>

namespace storage::benchmark {

namespace {

constexpr std::uint64_t kibibyte = 1 << 10;
constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;

const Abilities needsNothing;
const Abilities needsTree{Ability::Tree};
const Abilities needsChanges{Ability::ChangeFiles};
const Abilities needsTreeInMemory{Ability::Tree, Ability::LiveInProcess};
const Abilities needsContentInMemory{Ability::Write, Ability::LiveInProcess};

/// A scenario that calls run(kind, rows, parameters...).
template <typename... Parameters>
Scenario scenario(const std::string& name, const Abilities& required,
                  void (*run)(const StoreKind&, Rows&, Parameters...),
                  std::type_identity_t<Parameters>... parameters) {
    return {name, required, [=](const StoreKind& kind, Rows& rows) { run(kind, rows, parameters...); }};
}

std::vector<Scenario> fullTable() {
    return {
        scenario("folder-1k", needsTree, runFolder, "1k", 1'000, 200),
        scenario("folder-10k", needsTree, runFolder, "10k", 10'000, 20),
        scenario("folder-100k", needsTree, runFolder, "100k", 100'000, 2),
        scenario("folder-1M", needsTree, runFolder, "1M", 1'000'000, 1),
        scenario("remove-1k", needsChanges, runRemovals, "1k", 1'000, 200),
        scenario("remove-10k", needsChanges, runRemovals, "10k", 10'000, 20),
        scenario("remove-100k", needsChanges, runRemovals, "100k", 100'000, 2),
        scenario("remove-1M", needsChanges, runRemovals, "1M", 1'000'000, 1),
        scenario("tree", needsTree, runTree, 1'000),
        scenario("long-paths", needsTree, runLongPaths, 1'000),
        scenario("small-files-100-bytes", needsTree, runSmallFiles, "100-bytes", 100, 100'000, 400'000),
        scenario("small-files-4-KiB", needsTree, runSmallFiles, "4-KiB", 4096, 20'000, 100'000),
        scenario("append", needsChanges, runAppends, 1'000'000),
        scenario("big-file-1MiB", needsNothing, runBigFiles, "1MiB", mebibyte, gibibyte),
        scenario("big-file-16MiB", needsNothing, runBigFiles, "16MiB", 16 * mebibyte, gibibyte),
        scenario("big-file-128MiB", needsNothing, runBigFiles, "128MiB", 128 * mebibyte, gibibyte),
        scenario("big-file-1GiB", needsNothing, runBigFiles, "1GiB", gibibyte, gibibyte),
        scenario("move-folder-10k", {Ability::MoveFolder}, runFolderMoves, "10k", 10'000, 20),
        scenario("move-folder-100k", {Ability::MoveFolder}, runFolderMoves, "100k", 100'000, 4),
        scenario("threads-tree", needsChanges, runTreeThreads, 0.4),
        scenario("threads-reading", needsNothing, runReadingThreads, 0.4, 64 * mebibyte),
        scenario("growing-folder-4M", needsTreeInMemory, runGrowingFolder, "4M", 4'000'000),
    };
}

std::vector<Scenario> shortTable() {
    return {
        scenario("folder-1k", needsTree, runFolder, "1k", 1'000, 1),
        scenario("remove-1k", needsChanges, runRemovals, "1k", 1'000, 1),
        scenario("tree", needsTree, runTree, 5),
        scenario("long-paths", needsTree, runLongPaths, 5),
        scenario("small-files-100-bytes", needsTree, runSmallFiles, "100-bytes", 100, 100, 1'000),
        scenario("small-files-4-KiB", needsTree, runSmallFiles, "4-KiB", 4096, 100, 1'000),
        scenario("append", needsChanges, runAppends, 1'000),
        scenario("big-file-128KiB", needsNothing, runBigFiles, "128KiB", 128 * kibibyte, mebibyte),
        scenario("big-file-1MiB", needsNothing, runBigFiles, "1MiB", mebibyte, mebibyte),
        scenario("move-folder-1k", {Ability::MoveFolder}, runFolderMoves, "1k", 1'000, 2),
        scenario("threads-tree", needsChanges, runTreeThreads, 0.01),
        scenario("threads-reading", needsNothing, runReadingThreads, 0.01, mebibyte),
        scenario("growing-folder-1k", needsTreeInMemory, runGrowingFolder, "1k", 1'000),
    };
}

} // namespace

std::vector<Scenario> scenarioTable(Form form, unsigned mostThreads) {
    const bool isFull = form == Form::Full;
    std::vector<Scenario> all = isFull ? fullTable() : shortTable();
    const auto addMemory = [&](const std::string& variant, const std::string& namePrefix,
                               std::size_t fileSize) {
        all.push_back(scenario("memory-" + variant, fileSize > 0 ? needsContentInMemory : needsTreeInMemory,
                               runMemory, variant, namePrefix, isFull ? 1'000'000 : 10'000, fileSize));
    };
    addMemory("short-names", "f", 0);
    addMemory("16-character-names", "entry-name-", 0);
    addMemory("24-character-names", "entry-with-longname", 0);
    addMemory("100-bytes", "f", 100);
    // With one thread, two, four and so on, and with `mostThreads`.
    for (unsigned threads = 1; threads <= mostThreads;
         threads = std::max(threads + 1, std::min(2 * threads, mostThreads))) {
        all.push_back(scenario(fmt::format("cores-{}", threads), needsChanges, runCores, threads,
                               isFull ? 400'000 : 400, isFull ? 50'000 : 50));
    }
    return all;
}

} // namespace storage::benchmark
