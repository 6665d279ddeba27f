#include "benchmarks/scenarios/RandomReads.h"
#include "benchmarks/scenarios/Scenario.h"

#include <chrono>
#include <future>
#include <latch>

namespace storage::benchmark {

namespace {

/// Calls body(thread) in new threads, which begin when all are ready. Returns the sum of the results, and the
/// time until the last thread ends.
Timing runInThreads(unsigned threads, const std::function<std::uint64_t(unsigned)>& body) {
    std::latch ready(threads + 1);
    std::vector<std::future<std::uint64_t>> running;
    for (unsigned thread = 0; thread < threads; ++thread) {
        running.push_back(std::async(std::launch::async, [&body, &ready, thread] {
            ready.arrive_and_wait();
            return body(thread);
        }));
    }
    Timing timing;
    const auto start = std::chrono::steady_clock::now();
    ready.count_down();
    for (auto& each : running) {
        timing.operations += each.get();
    }
    timing.seconds = secondsSince(start);
    return timing;
}

/// Performs some operations and returns their number. A thread calls it in a loop.
using Work = std::function<std::uint64_t()>;

/// Operations per second of all works together, each on its own thread.
double rateOf(const std::vector<Work>& works, double seconds) {
    const Timing timing = runInThreads(static_cast<unsigned>(works.size()), [&](unsigned thread) {
        const auto begin = std::chrono::steady_clock::now();
        std::uint64_t operations = 0;
        while (secondsSince(begin) < seconds) {
            operations += works[thread]();
        }
        return operations;
    });
    return static_cast<double>(timing.operations) / timing.seconds;
}

void addRates(Rows& rows, const std::string& row, double seconds, const Work& one, const Work& other) {
    const double mean = (rateOf({one}, seconds) + rateOf({other}, seconds)) / 2;
    const double total = rateOf({one, other}, seconds);
    rows.add(row + ", total", "", total / 1e6);
    rows.add(row + ", gain", "", total / mean);
}

/// Writes a file, to be read at random.
RandomReads readsOfNewFile(Store& store, PathIndex file, std::uint64_t fileSize) {
    PatternedBlock content(file + 1);
    auto stream = store.open(file, Use::Create, fileSize);
    for (std::uint64_t block = 0; block < fileSize / content.size(); ++block) {
        stream->write(content.stamped(block), content.size());
    }
    stream.reset(); // some stores add the file only now
    return {content, fileSize, 20'000, store.open(file, Use::Read)};
}

/// The rate of all threads together in millions of operations per second. Each calls operation(thread, i),
/// which returns the size of an empty file, for all i below `count`.
template <typename Operation>
double rateOfThreads(unsigned threads, std::uint32_t count, Operation operation) {
    const Timing sizes = runInThreads(threads, [&](unsigned thread) {
        std::uint64_t sum = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            sum += operation(thread, i);
        }
        return sum;
    });
    expectEqual(sizes.operations, 0, "the total size of empty files");
    return static_cast<double>(threads) * count / 1e6 / sizes.seconds;
}

constexpr std::uint32_t sharedFiles = 10'000;
constexpr std::uint32_t ownFiles = 1'000; // of each thread, before the timing

/// A shared folder, and a folder for each thread with files, files to be created, and a file that is created
/// and removed in turn.
struct ThreadFolders {
    ThreadFolders(const StoreKind& kind, unsigned threads, std::uint32_t creations) {
        PathList paths;
        paths.add("/shared");
        shared = paths.addFiles("/shared", sharedFiles);
        for (unsigned thread = 0; thread < threads; ++thread) {
            const std::string folder = fmt::format("/folder-{:03}", thread);
            paths.add(folder);
            own.push_back(paths.addFiles(folder, ownFiles + creations + 1));
        }
        store = kind.build(paths.all());
        store->createFolder(shared - 1);
        createFiles(*store, shared, sharedFiles);
        for (const PathIndex first : own) {
            store->createFolder(first - 1);
            createFiles(*store, first, ownFiles);
        }
    }

    void verifyOwn(std::uint32_t created) const {
        for (const PathIndex first : own) {
            expectEqual(store->list(first - 1).entries, ownFiles + created,
                        "files in the folder of a thread");
        }
    }

    PathIndex shared = 0;       ///< the first shared file
    std::vector<PathIndex> own; ///< the first file of each thread
    std::unique_ptr<Store> store;
};

} // namespace

void runTreeThreads(const StoreKind& kind, Rows& rows, double seconds) {
    constexpr std::uint32_t watchedFiles = 10'000;
    constexpr std::uint32_t changingFiles = 1'000;
    constexpr std::size_t lookUpsAtOnce = 100;
    static_assert(watchedFiles % lookUpsAtOnce == 0);
    const std::vector<std::uint32_t> order = randomOrder(watchedFiles);
    PathList paths;
    const PathIndex watchedFolder = paths.add("/watched");
    const PathIndex changingFolder = paths.add("/changing");
    const PathIndex watched = paths.addFiles("/watched", watchedFiles);
    const PathIndex changing = paths.addFiles("/changing", changingFiles);
    const auto store = kind.build(paths.all());
    store->createFolder(watchedFolder);
    store->createFolder(changingFolder);
    createFiles(*store, watched, watchedFiles);
    paths = {};          // frees memory that the store can reuse, as in a host
    struct alignas(64) { // on its own cache line, because the other thread reads the variables above
        std::size_t next = 0;
        std::uint64_t sizes = 0;
    } lookUps;
    const Work lookUp = [&] {
        std::uint64_t sizes = 0;
        for (std::size_t i = lookUps.next; i < lookUps.next + lookUpsAtOnce; ++i) {
            sizes += store->fileSize(watched + order[i]);
        }
        lookUps.sizes += sizes;
        lookUps.next = (lookUps.next + lookUpsAtOnce) % watchedFiles;
        return lookUpsAtOnce;
    };
    const Work change = [&] {
        createFiles(*store, changing, changingFiles);
        for (PathIndex file = changing; file < changing + changingFiles; ++file) {
            store->removeFile(file);
        }
        return 2 * changingFiles;
    };
    addRates(rows, "two threads in the tree", seconds, lookUp, change);
    expectEqual(lookUps.sizes, 0, "the total size of empty files");
    expectEqual(store->list(watchedFolder).entries, watchedFiles, "files in the unchanged folder");
    expectEqual(store->list(changingFolder).entries, 0, "files in the folder after removing all");
}

void runReadingThreads(const StoreKind& kind, Rows& rows, double seconds, std::uint64_t fileSize) {
    const auto store = kind.build({"/one", "/other"});
    RandomReads one = readsOfNewFile(*store, 0, fileSize);
    RandomReads other = readsOfNewFile(*store, 1, fileSize);
    const auto workOf = [](RandomReads& reads) {
        return [&reads] {
            constexpr std::size_t readsAtOnce = 50;
            for (std::size_t i = 0; i < readsAtOnce; ++i) {
                reads.readNext();
            }
            return readsAtOnce;
        };
    };
    addRates(rows, "two threads reading", seconds, workOf(one), workOf(other));
    one.verify();
    other.verify();
}

void runCores(const StoreKind& kind, Rows& rows, unsigned threads, std::uint32_t lookUps,
              std::uint32_t creations) {
    constexpr std::uint32_t operationsPerChange = 20;
    const ThreadFolders folders(kind, threads, creations);
    const std::vector<PathIndex>& own = folders.own;
    Store* const store = folders.store.get();
    const std::vector<std::uint32_t> order = randomOrder(sharedFiles);
    const std::string variant = fmt::format("{} thread{}", threads, threads == 1 ? "" : "s");
    const auto add = [&](const char* row, std::uint32_t count, auto operation) {
        rows.add(row, variant, rateOfThreads(threads, count, operation));
    };
    add("look-ups in one folder", lookUps, [&](unsigned thread, std::uint32_t i) {
        return store->fileSize(folders.shared + order[(i + thread * ownFiles) % sharedFiles]);
    });
    add("look-ups in many folders", lookUps, [&](unsigned thread, std::uint32_t i) {
        return store->fileSize(own[thread] + order[i % sharedFiles] % ownFiles);
    });
    add("creations in many folders", creations, [&](unsigned thread, std::uint32_t i) {
        store->createFile(own[thread] + ownFiles + i);
        return 0U;
    });
    folders.verifyOwn(creations);
    add("95 % look-ups, 5 % changes", lookUps, [&](unsigned thread, std::uint32_t i) -> std::uint64_t {
        const PathIndex changing = own[thread] + ownFiles + creations;
        const std::uint32_t turn = i % (2 * operationsPerChange);
        if (turn == 0) {
            store->createFile(changing);
        } else if (turn == operationsPerChange) {
            store->removeFile(changing);
        } else {
            return store->fileSize(own[i % threads] + order[i % sharedFiles] % ownFiles);
        }
        return 0;
    });
    folders.verifyOwn(creations);
}

} // namespace storage::benchmark
