#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/scenarios/Threads.h"

#include <algorithm>

namespace storage::benchmark {

namespace {

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
        paths.addFiles("/shared", sharedFiles);
        for (unsigned thread = 0; thread < threads_; ++thread) {
            paths.addFiles(paths[1 + thread], ownFiles + creations_ + 1);
        }
        store_->prepare(paths.all());
        for (PathIndex path = 0; path <= threads_; ++path) {
            store_->createFolder(path);
        }
        for (std::uint32_t file = 0; file < sharedFiles; ++file) {
            store_->createFile(1 + threads_ + file);
        }
        for (unsigned thread = 0; thread < threads_; ++thread) {
            for (std::uint32_t file = 0; file < ownFiles; ++file) {
                store_->createFile(filesOf(thread) + file);
            }
        }
    }

    double lookUpInOneFolder() {
        return rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) {
            return store_->fileSize(1 + threads_ + order_[(i + thread * ownFiles) % sharedFiles]);
        });
    }

    double lookUpInManyFolders() {
        return rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) {
            return store_->fileSize(filesOf(thread) + order_[i % sharedFiles] % ownFiles);
        });
    }

    double createInManyFolders() {
        const double rate = rateOf(creations_, [this](unsigned thread, std::uint32_t i) -> std::uint64_t {
            store_->createFile(filesOf(thread) + ownFiles + i);
            return 0;
        });
        verifyFolders();
        return rate;
    }

    double mixed() {
        const double rate = rateOf(lookUps_, [this](unsigned thread, std::uint32_t i) -> std::uint64_t {
            const PathIndex changing = filesOf(thread) + ownFiles + creations_;
            const std::uint32_t turn = i % (2 * operationsPerChange);
            if (turn == 0) {
                store_->createFile(changing);
            } else if (turn == operationsPerChange) {
                store_->removeFile(changing);
            } else {
                return store_->fileSize(filesOf(i % threads_) + order_[i % sharedFiles] % ownFiles);
            }
            return 0;
        });
        verifyFolders();
        return rate;
    }

private:
    static constexpr std::uint32_t ownFiles = 1'000; ///< of each thread, before the timing
    static constexpr std::uint32_t operationsPerChange = 20;
    static constexpr std::uint32_t sharedFiles = 10'000;

    PathIndex filesOf(unsigned thread) const {
        return 1 + threads_ + sharedFiles + thread * (ownFiles + creations_ + 1);
    }

    /// The rate of all threads together in millions of operations per second. Each calls
    /// operation(thread, i), which returns the size of a file, for all i below `count`.
    template <typename Operation>
    double rateOf(std::uint32_t count, Operation operation) const {
        const auto results = runInThreads(threads_, [&](unsigned thread) {
            std::uint64_t sizes = 0;
            for (std::uint32_t i = 0; i < count; ++i) {
                sizes += operation(thread, i);
            }
            return sizes;
        });
        auto start = results.front().start;
        auto end = results.front().end;
        for (const ThreadResult& each : results) {
            start = std::min(start, each.start);
            end = std::max(end, each.end);
            expectEqual(each.value, 0, "the total size of empty files");
        }
        return static_cast<double>(threads_) * count / 1e6 /
               std::chrono::duration<double>(end - start).count();
    }

    void verifyFolders() {
        for (unsigned thread = 0; thread < threads_; ++thread) {
            expectEqual(store_->list(1 + thread).entries, ownFiles + creations_,
                        "files in the folder of a thread");
        }
    }

    const unsigned threads_;
    const std::uint32_t lookUps_; ///< of each thread
    const std::uint32_t creations_;
    const std::vector<std::uint32_t> order_ = randomOrder(sharedFiles);
    std::unique_ptr<Store> store_;
};

} // namespace

Scenario coresScenario(unsigned threads, std::uint32_t lookUps, std::uint32_t creations) {
    return {fmt::format("cores-{}", threads),
            {Ability::ChangeTreeInThreads},
            [=](const StoreKind& kind, Rows& rows) {
                const std::string variant = fmt::format("{} thread{}", threads, threads == 1 ? "" : "s");
                CoresRun run(kind, threads, lookUps, creations);
                rows.add("look-ups in one folder", variant, run.lookUpInOneFolder());
                rows.add("look-ups in many folders", variant, run.lookUpInManyFolders());
                rows.add("creations in many folders", variant, run.createInManyFolders());
                rows.add("95 % look-ups, 5 % changes", variant, run.mixed());
            }};
}

} // namespace storage::benchmark
