#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <future>
#include <latch>
#include <memory>
#include <vector>

namespace storage::benchmark {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t filesInFolder = 1'000; ///< before the timing
constexpr std::uint32_t operationsPerChange = 20;
constexpr std::uint32_t filesInSharedFolder = 10'000;

struct ThreadResult {
    Clock::time_point start;
    Clock::time_point end;
    std::uint64_t sizes; ///< sum of the sizes that were looked up
};

/// A shared folder, and a folder for each thread with files, files to be created, and a file that is created
/// and removed in turn.
class CoresRun {
public:
    CoresRun(const StoreKind& kind, unsigned threads, std::uint32_t lookUps, std::uint32_t creations)
        : threads_(threads), lookUps_(lookUps), creations_(creations), store_(kind.build()) {
        PathList paths;
        paths.add("/shared");
        for (unsigned thread = 0; thread < threads_; ++thread) {
            paths.add(fmt::format("/folder-{:03}", thread));
        }
        for (std::uint32_t file = 0; file < filesInSharedFolder; ++file) {
            paths.add(fmt::format("/shared/f{:07}", file));
        }
        for (unsigned thread = 0; thread < threads_; ++thread) {
            for (std::uint32_t file = 0; file <= filesInFolder + creations_; ++file) {
                paths.add(fmt::format("/folder-{:03}/f{:07}", thread, file));
            }
        }
        store_->prepare(paths.all());
        for (PathIndex path = 0; path <= threads_; ++path) {
            store_->createFolder(path);
        }
        for (std::uint32_t file = 0; file < filesInSharedFolder; ++file) {
            store_->createFile(1 + threads_ + file);
        }
        for (unsigned thread = 0; thread < threads_; ++thread) {
            for (std::uint32_t file = 0; file < filesInFolder; ++file) {
                store_->createFile(filesOf(thread) + file);
            }
        }
    }

    double lookUpInOneFolder() {
        return rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) {
            return store_->fileSize(1 + threads_ +
                                    order_[(i + thread * filesInFolder) % filesInSharedFolder]);
        });
    }

    double lookUpInManyFolders() {
        return rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) {
            return store_->fileSize(filesOf(thread) + order_[i % filesInSharedFolder] % filesInFolder);
        });
    }

    double createInManyFolders() {
        const double rate = rateOf(creations_, [this](unsigned thread, std::uint32_t i) -> std::uint64_t {
            store_->createFile(filesOf(thread) + filesInFolder + i);
            return 0;
        });
        verifyFolders(filesInFolder + creations_);
        return rate;
    }

    double mixed() {
        const double rate = rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) -> std::uint64_t {
            const PathIndex changing = filesOf(thread) + filesInFolder + creations_;
            const std::uint32_t turn = i % (2 * operationsPerChange);
            if (turn == 0) {
                store_->createFile(changing);
            } else if (turn == operationsPerChange) {
                store_->removeFile(changing);
            } else {
                return store_->fileSize(filesOf(i % threads_) +
                                        order_[i % filesInSharedFolder] % filesInFolder);
            }
            return 0;
        });
        verifyFolders(filesInFolder + creations_);
        return rate;
    }

private:
    static PathIndex folderOf(unsigned thread) { return 1 + thread; }
    PathIndex filesOf(unsigned thread) const {
        return 1 + threads_ + filesInSharedFolder + thread * (filesInFolder + creations_ + 1);
    }

    /// The rate of all threads together in operations per second. Each calls operation(thread, i) for all i below
    /// `count`, which returns the size of a file.
    template <typename Operation>
    double rateOf(std::uint32_t count, Operation operation) const {
        std::latch ready(threads_);
        std::vector<std::future<ThreadResult>> running;
        for (unsigned thread = 0; thread < threads_; ++thread) {
            running.push_back(std::async(std::launch::async, [&, thread]() -> ThreadResult {
                ready.arrive_and_wait();
                const auto start = Clock::now();
                std::uint64_t sizes = 0;
                for (std::uint32_t i = 0; i < count; ++i) {
                    sizes += operation(thread, i);
                }
                return {start, Clock::now(), sizes};
            }));
        }
        auto start = Clock::time_point::max();
        auto end = Clock::time_point::min();
        for (auto& each : running) {
            const ThreadResult result = each.get();
            start = std::min(start, result.start);
            end = std::max(end, result.end);
            expectEqual(result.sizes, 0, "the sum of the sizes of empty files");
        }
        return static_cast<double>(threads_) * count / std::chrono::duration<double>(end - start).count();
    }

    void verifyFolders(std::uint32_t entries) {
        for (unsigned thread = 0; thread < threads_; ++thread) {
            expectEqual(store_->list(folderOf(thread)).entries, entries, "files in the folder of a thread");
        }
    }

    const unsigned threads_;
    const std::uint32_t lookUps_; ///< of each thread
    const std::uint32_t creations_;
    const std::vector<std::uint32_t> order_ = randomOrder(filesInSharedFolder);
    std::unique_ptr<Store> store_;
};

} // namespace

Scenario coresScenario(unsigned threads, std::uint32_t lookUps, std::uint32_t creations) {
    return {fmt::format("cores-{}", threads),
            {Ability::ChangeTreeInThreads},
            [=](const StoreKind& kind, Rows& rows) {
                constexpr double million = 1e6;
                const std::string variant = fmt::format("{} thread{}", threads, threads == 1 ? "" : "s");
                CoresRun run(kind, threads, lookUps, creations);
                rows.add("look-ups in one folder", variant, run.lookUpInOneFolder() / million);
                rows.add("look-ups in many folders", variant, run.lookUpInManyFolders() / million);
                rows.add("creations in many folders", variant, run.createInManyFolders() / million);
                rows.add("95 % look-ups, 5 % changes", variant, run.mixed() / million);
            }};
}

} // namespace storage::benchmark
