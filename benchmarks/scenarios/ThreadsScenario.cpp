#include "benchmarks/scenarios/Scenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

/// Performs some operations and returns their number. A thread calls it in a loop.
using Work = std::function<std::uint64_t()>;

/// The rate of two workloads together, and their gain over running alone.
struct PairRates {
    double total;
    double gain;
};

/// Measures operations per second in a new thread. It begins when all threads with the same `start` are
/// ready.
std::future<double> startWork(const Work& work, double seconds, std::latch& start) {
    return std::async(std::launch::async, [&work, seconds, &start] {
        start.arrive_and_wait();
        const auto begin = std::chrono::steady_clock::now();
        std::uint64_t operations = 0;
        double elapsed = 0;
        while (elapsed < seconds) {
            operations += work();
            elapsed = secondsSince(begin);
        }
        return static_cast<double>(operations) / elapsed;
    });
}

double rateAlone(const Work& work, double seconds) {
    std::latch start(1);
    return startWork(work, seconds, start).get();
}

PairRates ratesOf(const Work& one, const Work& other, double seconds) {
    const double mean = (rateAlone(one, seconds) + rateAlone(other, seconds)) / 2;
    std::latch start(2);
    auto first = startWork(one, seconds, start);
    auto second = startWork(other, seconds, start);
    const double total = first.get() + second.get();
    return {total, total / mean};
}

constexpr std::size_t cacheLine = 64;
constexpr std::uint32_t watchedFiles = 10'000;
constexpr std::uint32_t changingFiles = 1'000;

/// Looks up attributes at random in one folder; creates and removes files in another.
class TreeWorks {
public:
    explicit TreeWorks(const StoreKind& kind) : store_(kind.build()) {
        PathList paths;
        paths.add("/watched");
        paths.add("/changing");
        for (std::uint32_t i = 0; i < watchedFiles; ++i) {
            paths.add(fmt::format("/watched/f{:07}", i));
        }
        for (std::uint32_t i = 0; i < changingFiles; ++i) {
            paths.add(fmt::format("/changing/f{:07}", i));
        }
        store_->prepare(paths.all());
        store_->createFolder(watchedFolder_);
        store_->createFolder(changingFolder_);
        for (std::uint32_t i = 0; i < watchedFiles; ++i) {
            store_->createFile(watched_ + i);
        }
    }

    std::uint64_t lookUp() {
        constexpr std::size_t many = 100;
        static_assert(watchedFiles % many == 0);
        std::uint64_t sizes = 0;
        for (std::size_t i = lookUps_.next; i < lookUps_.next + many; ++i) {
            sizes += store_->fileSize(watched_ + order_[i]);
        }
        lookUps_.sizes += sizes;
        lookUps_.next = (lookUps_.next + many) % watchedFiles;
        return many;
    }

    std::uint64_t change() {
        for (PathIndex file = changing_; file < changing_ + changingFiles; ++file) {
            store_->createFile(file);
        }
        for (PathIndex file = changing_; file < changing_ + changingFiles; ++file) {
            store_->removeFile(file);
        }
        return 2 * changingFiles;
    }

    void verify() {
        expectEqual(lookUps_.sizes, 0, "the sum of the sizes of empty files");
        expectEqual(store_->list(watchedFolder_).entries, watchedFiles, "files that nobody removed");
        expectEqual(store_->list(changingFolder_).entries, 0, "files that were all removed");
    }

private:
    std::unique_ptr<Store> store_;
    std::vector<std::uint32_t> order_ = randomOrder(watchedFiles);
    PathIndex watchedFolder_ = 0;
    PathIndex changingFolder_ = 1;
    PathIndex watched_ = 2;
    PathIndex changing_ = watched_ + watchedFiles;

    /// On its own cache line, because the other thread reads the members above (false sharing).
    struct alignas(cacheLine) LookUps {
        std::size_t next = 0;
        std::uint64_t sizes = 0;
    };
    LookUps lookUps_;
};

/// Random reads of 4 KiB in its own file. Aligned to avoid false sharing with the other thread.
class alignas(cacheLine) ReadingWork {
public:
    static constexpr std::uint64_t fileSize = 64 << 20;

    ReadingWork(Store& store, PathIndex file) : content_(file + 1) {
        {
            const auto stream = store.createStream(file, fileSize);
            for (std::uint64_t block = 0; block < fileSize / PatternedBlock::usualSize; ++block) {
                stream->write(content_.stamped(block), PatternedBlock::usualSize);
            }
        }
        auto random = fixedRandom();
        for (std::uint64_t& offset : offsets_) {
            offset = random() % ((fileSize - readSize) / 8 + 1) * 8;
            words_.push_back(content_.wordAt(offset));
        }
        stream_ = store.openToRead(file);
    }

    std::uint64_t read() {
        for (std::size_t i = next_; i < next_ + many; ++i) {
            stream_->readAt(offsets_[i], buffer_.data(), readSize);
            sum_ += PatternedBlock::firstWord(buffer_.data());
            expected_ += words_[i];
        }
        next_ = (next_ + many) % offsets_.size();
        return many;
    }

    void verify() const { expectEqual(sum_, expected_, "the sum of what was read"); }

private:
    static constexpr std::size_t readSize = 4096;
    static constexpr std::size_t many = 50;

    PatternedBlock content_;
    AlignedBuffer buffer_{readSize};
    std::vector<std::uint64_t> offsets_ = std::vector<std::uint64_t>(20'000);
    std::vector<std::uint64_t> words_; ///< the first word at each offset
    std::size_t next_ = 0;
    std::uint64_t sum_ = 0;
    std::uint64_t expected_ = 0;
    std::unique_ptr<Stream> stream_;
};

void measureTree(const StoreKind& kind, double seconds, Rows& rows) {
    TreeWorks works(kind);
    const PairRates rates = ratesOf([&] { return works.lookUp(); }, [&] { return works.change(); }, seconds);
    works.verify();
    rows.add("two threads in the tree, total", "", rates.total / 1e6);
    rows.add("two threads in the tree, gain", "", rates.gain);
}

void measureReads(const StoreKind& kind, double seconds, Rows& rows) {
    const auto store = kind.build();
    store->prepare({"/one", "/other"});
    ReadingWork one(*store, 0);
    ReadingWork other(*store, 1);
    const PairRates rates = ratesOf([&] { return one.read(); }, [&] { return other.read(); }, seconds);
    one.verify();
    other.verify();
    rows.add("two threads reading, total", "", rates.total / 1e6);
    rows.add("two threads reading, gain", "", rates.gain);
}

} // namespace

Scenario treeThreadsScenario(double seconds) {
    return {"threads-tree", {Ability::ChangeTreeInThreads}, [=](const StoreKind& kind, Rows& rows) {
                measureTree(kind, seconds, rows);
            }};
}

Scenario readingThreadsScenario(double seconds) {
    return {"threads-reading", {Ability::Read}, [=](const StoreKind& kind, Rows& rows) {
                measureReads(kind, seconds, rows);
            }};
}

} // namespace storage::benchmark
