#pragma once

#include "benchmarks/stores/Store.h"
#include "benchmarks/workload/Expect.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/Rows.h"

#include <cstdint>
#include <fmt/format.h>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// The amount of work.
enum class Form {
    Full,
    Short ///< the smallest sizes: every scenario runs, every result is verified
};

/// A workload that fills a store, times its operations, and verifies their effects. Runs once per process. A
/// value.
struct Scenario {
    std::string name;
    Abilities required; ///< of a store; other stores skip the scenario
    std::function<void(const StoreKind& kind, Rows& rows)> run; ///< throws if a result is wrong
};

/// The paths of a scenario, in the order in which the store receives them.
class PathList {
public:
    PathIndex add(std::string path) {
        paths_.push_back(std::move(path));
        return size() - 1;
    }

    /// The files of a folder, in ascending order. Returns the first one.
    PathIndex addFiles(const std::string& folder, std::uint32_t count) {
        const PathIndex first = size();
        const std::string prefix = folder + "/f"; // `folder` may be an element of paths_
        for (std::uint32_t i = 0; i < count; ++i) {
            paths_.push_back(fmt::format("{}{:07}", prefix, i));
        }
        return first;
    }

    const std::string& operator[](PathIndex index) const { return paths_[index]; }
    PathIndex size() const { return static_cast<PathIndex>(paths_.size()); }
    const Paths& all() const { return paths_; }

private:
    Paths paths_;
};

/// Creates these empty files.
inline void createFiles(Store& store, PathIndex first, std::uint32_t count) {
    for (PathIndex file = first; file < first + count; ++file) {
        store.createFile(file);
    }
}

/// Creates, looks up, lists and moves files in one folder. Each round uses a new store.
/// @param variant  the number of files in the names of rows
void runFolder(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count,
               std::uint32_t rounds);

/// Removes files of one folder one by one, the first half in the order of their creation. A scenario of
/// its own, so that the heap contains nothing but these files.
void runRemovals(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count,
                 std::uint32_t rounds);

/// Many folders with a few files each. All paths have 60 characters and long common prefixes.
void runTree(const StoreKind& kind, Rows& rows, std::uint32_t folders);

/// The same with paths of 40 to 60 characters. The files are created in random order.
void runLongPaths(const StoreKind& kind, Rows& rows, std::uint32_t folders);

/// Reads and overwrites small files of one size. Each operation opens and closes a file.
/// @param variant  name of the size in the rows
void runSmallFiles(const StoreKind& kind, Rows& rows, const std::string& variant, std::size_t fileSize,
                   std::uint32_t files, std::uint32_t operations);

/// Small sequential writes through one stream: at its position, which is the end, and in append mode. Stores
/// with one kind of writer use it for both.
void runAppends(const StoreKind& kind, Rows& rows, std::uint32_t writes);

/// Writes, overwrites and reads files of one size in blocks of 64 KiB, `allSizes` bytes in total. A single
/// file is also read at random.
void runBigFiles(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint64_t fileSize,
                 std::uint64_t allSizes);

/// Repeatedly renames a folder with subfolders of 100 empty files each.
void runFolderMoves(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t files,
                    std::uint32_t moves);

/// Two threads, together and each alone: one looks up files, the other changes another folder. The gain is
/// the total rate of both together divided by the mean of the rates alone. It is 2 without contention, 1 if
/// the threads take turns, and less if contention costs additional time.
/// @param seconds  duration of each measurement
void runTreeThreads(const StoreKind& kind, Rows& rows, double seconds);

/// The same with random reads of two files.
void runReadingThreads(const StoreKind& kind, Rows& rows, double seconds, std::uint64_t fileSize);

/// Creates many files of one size, and measures the growth of the process per file.
/// @param namePrefix  of the files; five digits follow
/// @param fileSize    0 for empty files
void runMemory(const StoreKind& kind, Rows& rows, const std::string& variant, const std::string& namePrefix,
               std::uint32_t files, std::size_t fileSize);

/// Times each creation, look-up and removal in one folder individually, for the distribution of latencies.
/// The folder grows to `count` files.
void runGrowingFolder(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count);

/// Look-ups, creations, and a mixture of look-ups and changes, by several threads at once.
/// @param lookUps    of each thread, a multiple of 40; also the number of operations in the mixture
/// @param creations  of each thread
void runCores(const StoreKind& kind, Rows& rows, unsigned threads, std::uint32_t lookUps,
              std::uint32_t creations);

/// Every scenario, in the order in which they run.
/// @param mostThreads  maximum for scenarios with a varying number of threads
std::vector<Scenario> scenarioTable(Form form, unsigned mostThreads);

} // namespace storage::benchmark
