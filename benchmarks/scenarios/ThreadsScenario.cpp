#include "benchmarks/scenarios/RandomReads.h"
#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/scenarios/Threads.h"

namespace storage::benchmark {

namespace {

/// Performs some operations and returns their number. A thread calls it in a loop.
using Work = std::function<std::uint64_t()>;

/// Operations per second of all works together, each on its own thread.
double rateOf(const std::vector<Work>& works, double seconds) {
    const auto results = runInThreads(static_cast<unsigned>(works.size()), [&](unsigned thread) {
        const auto begin = std::chrono::steady_clock::now();
        std::uint64_t operations = 0;
        while (secondsSince(begin) < seconds) {
            operations += works[thread]();
        }
        return operations;
    });
    double rate = 0;
    for (const ThreadResult& each : results) {
        rate +=
            static_cast<double>(each.value) / std::chrono::duration<double>(each.end - each.start).count();
    }
    return rate;
}

void addRates(Rows& rows, const std::string& row, double seconds, const Work& one, const Work& other) {
    const double mean = (rateOf({one}, seconds) + rateOf({other}, seconds)) / 2;
    const double total = rateOf({one, other}, seconds);
    rows.add(row + ", total", "", total / 1e6);
    rows.add(row + ", gain", "", total / mean);
}

/// Looks up attributes at random in one folder; creates and removes files in another.
class TreeWorks {
public:
    explicit TreeWorks(const StoreKind& kind) : store_(kind.build()) {
        PathList paths;
        paths.add("/watched");
        paths.add("/changing");
        paths.addFiles("/watched", watchedFiles);
        paths.addFiles("/changing", changingFiles);
        store_->prepare(paths.all());
        store_->createFolder(watchedFolder);
        store_->createFolder(changingFolder);
        for (std::uint32_t i = 0; i < watchedFiles; ++i) {
            store_->createFile(watched + i);
        }
    }

    std::uint64_t lookUp() {
        constexpr std::size_t many = 100;
        static_assert(watchedFiles % many == 0);
        std::uint64_t sizes = 0;
        for (std::size_t i = lookUps_.next; i < lookUps_.next + many; ++i) {
            sizes += store_->fileSize(watched + order_[i]);
        }
        lookUps_.sizes += sizes;
        lookUps_.next = (lookUps_.next + many) % watchedFiles;
        return many;
    }

    std::uint64_t change() {
        for (PathIndex file = changing; file < changing + changingFiles; ++file) {
            store_->createFile(file);
        }
        for (PathIndex file = changing; file < changing + changingFiles; ++file) {
            store_->removeFile(file);
        }
        return std::uint64_t{2} * changingFiles;
    }

    void verify() {
        expectEqual(lookUps_.sizes, 0, "the total size of empty files");
        expectEqual(store_->list(watchedFolder).entries, watchedFiles, "files in the unchanged folder");
        expectEqual(store_->list(changingFolder).entries, 0, "files in the folder after removing all");
    }

private:
    static constexpr std::uint32_t watchedFiles = 10'000;
    static constexpr std::uint32_t changingFiles = 1'000;
    static constexpr PathIndex watchedFolder = 0;
    static constexpr PathIndex changingFolder = 1;
    static constexpr PathIndex watched = 2;
    static constexpr PathIndex changing = watched + watchedFiles;

    std::unique_ptr<Store> store_;
    std::vector<std::uint32_t> order_ = randomOrder(watchedFiles);

    /// On its own cache line, because the other thread reads the members above (false sharing).
    struct alignas(64) LookUps {
        std::size_t next = 0;
        std::uint64_t sizes = 0;
    };
    LookUps lookUps_;
};

/// Random reads of the thread's own file, repeated endlessly.
class ReadingWork {
public:
    ReadingWork(Store& store, PathIndex file, std::uint64_t fileSize)
        : content_(file + 1), reads_(content_, fileSize, 20'000, fill(store, file, fileSize)) {}

    std::uint64_t read() {
        for (std::size_t i = next_; i < next_ + many; ++i) {
            reads_.read(i);
        }
        next_ = (next_ + many) % reads_.count();
        return many;
    }

    void verify() const { reads_.verify(); }

private:
    static constexpr std::size_t many = 50;

    std::unique_ptr<Stream> fill(Store& store, PathIndex file, std::uint64_t fileSize) {
        auto stream = store.createStream(file, fileSize);
        for (std::uint64_t block = 0; block < fileSize / PatternedBlock::usualSize; ++block) {
            stream->write(content_.stamped(block), PatternedBlock::usualSize);
        }
        stream.reset(); // some stores add the file only now
        return store.openToRead(file);
    }

    std::size_t next_ = 0;
    PatternedBlock content_;
    RandomReads reads_;
};

} // namespace

Scenario treeThreadsScenario(double seconds) {
    return {"threads-tree", {Ability::ChangeTreeInThreads}, [=](const StoreKind& kind, Rows& rows) {
                TreeWorks works(kind);
                addRates(
                    rows, "two threads in the tree", seconds, [&] { return works.lookUp(); },
                    [&] { return works.change(); });
                works.verify();
            }};
}

Scenario readingThreadsScenario(double seconds, std::uint64_t fileSize) {
    return {"threads-reading", {Ability::Read}, [=](const StoreKind& kind, Rows& rows) {
                const auto store = kind.build();
                store->prepare({"/one", "/other"});
                ReadingWork one(*store, 0, fileSize);
                ReadingWork other(*store, 1, fileSize);
                addRates(
                    rows, "two threads reading", seconds, [&] { return one.read(); },
                    [&] { return other.read(); });
                one.verify();
                other.verify();
            }};
}

} // namespace storage::benchmark
