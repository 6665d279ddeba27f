#include "benchmarks/scenarios/RandomReads.h"
#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

namespace {

/// One run: files with blocks numbered from 0 on across all files.
class BigFileRun {
public:
    BigFileRun(const StoreKind& kind, std::uint64_t fileSize, std::uint64_t allSizes)
        : fileSize_(fileSize), files_(static_cast<PathIndex>(allSizes / fileSize)), store_(kind.build()) {
        PathList paths;
        for (PathIndex file = 0; file < files_; ++file) {
            paths.add(fmt::format("/file{:04}", file));
        }
        store_->prepare(paths.all());
    }

    Timing write() {
        return writeAll([this](PathIndex file) { return store_->createStream(file, fileSize_); });
    }

    Timing overwrite() {
        content_ = std::make_unique<PatternedBlock>(2);
        return writeAll([this](PathIndex file) { return store_->openToOverwrite(file); });
    }

    Timing read() {
        Timing timing;
        for (PathIndex file = 0; file < files_; ++file) {
            const auto stream = store_->openToRead(file);
            std::uint64_t sum = 0;
            timing += measure(blocks_, withoutBudget, [&](std::size_t) {
                stream->read(buffer_.data(), blockSize);
                sum += PatternedBlock::firstWord(buffer_.data());
            });
            std::uint64_t expected = 0;
            for (std::uint64_t block = 0; block < blocks_; ++block) {
                expected += content_->wordAt(numberOf(file, block) * blockSize);
            }
            expectEqual(sum, expected, "the sum of what was read");
        }
        return inBytes(timing);
    }

    void verify() {
        for (PathIndex file = 0; file < files_; ++file) {
            const auto stream = store_->openToRead(file);
            for (std::uint64_t block = 0; block < blocks_; ++block) {
                stream->read(buffer_.data(), blockSize);
                expectTrue(content_->holds(buffer_.data(), numberOf(file, block)),
                           "a file has the bytes that were written");
            }
        }
    }

    Timing readAtRandom() {
        RandomReads reads(*content_, fileSize_, 100'000, store_->openToRead(0));
        const Timing timing = measure(reads.count(), withoutBudget, [&](std::size_t i) { reads.read(i); });
        reads.verify();
        return timing;
    }

private:
    static constexpr std::size_t blockSize = PatternedBlock::usualSize;

    template <typename Open>
    Timing writeAll(Open open) {
        Timing timing;
        for (PathIndex file = 0; file < files_; ++file) {
            const std::unique_ptr<Stream> stream = open(file);
            timing += measure(blocks_, withoutBudget, [&](std::size_t block) {
                stream->write(content_->stamped(numberOf(file, block)), blockSize);
            });
        }
        return inBytes(timing);
    }

    static Timing inBytes(const Timing& blocks) { return {blocks.operations * blockSize, blocks.seconds}; }

    std::uint64_t numberOf(std::uint64_t file, std::uint64_t block) const { return file * blocks_ + block; }

    std::uint64_t fileSize_;
    std::uint64_t blocks_ = fileSize_ / blockSize; ///< per file
    PathIndex files_;
    std::unique_ptr<PatternedBlock> content_ = std::make_unique<PatternedBlock>(1);
    AlignedBuffer buffer_{blockSize};
    std::unique_ptr<Store> store_;
};

} // namespace

Scenario bigFileScenario(const std::string& variant, std::uint64_t fileSize, std::uint64_t allSizes) {
    return {"big-file-" + variant, {Ability::Read}, [=](const StoreKind& kind, Rows& rows) {
                constexpr double gigabyte = 1e9;
                BigFileRun run(kind, fileSize, allSizes);
                const Timing writing = run.write();
                run.verify();
                if (kind.can(Ability::Write)) {
                    rows.addRate("write", variant, writing, gigabyte);
                }
                if (kind.can(Ability::OverwriteInPlace)) {
                    rows.addRate("overwrite", variant, run.overwrite(), gigabyte);
                    run.verify();
                }
                rows.addRate("read", variant, run.read(), gigabyte);
                if (fileSize == allSizes) {
                    rows.addCost("random read", variant, run.readAtRandom());
                }
            }};
}

} // namespace storage::benchmark
