#include "benchmarks/scenarios/RandomReads.h"
#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

namespace {

/// Big files with blocks that are numbered from 0 on across all files.
class BigFiles {
public:
    BigFiles(const StoreKind& kind, std::uint64_t fileSize, std::uint64_t allSizes)
        : fileSize_(fileSize), files_(static_cast<PathIndex>(allSizes / fileSize)) {
        PathList paths;
        for (PathIndex file = 0; file < files_; ++file) {
            paths.add(fmt::format("/file{:04}", file));
        }
        store_ = kind.build(paths.all());
    }

    /// The timing counts bytes.
    Timing write(PatternedBlock& content, Use use) {
        return forEachBlock(use, [&](Stream& stream, std::uint64_t block) {
            stream.write(content.stamped(block), blockSize);
        });
    }

    /// The timing counts bytes.
    Timing read(const PatternedBlock& content) {
        std::uint64_t sum = 0;
        const Timing timing = forEachBlock(Use::Read, [&](Stream& stream, std::uint64_t) {
            stream.read(buffer_.data(), blockSize);
            sum += PatternedBlock::firstWord(buffer_.data());
        });
        for (std::uint64_t block = 0; block < files_ * blocks_; ++block) {
            sum -= content.stampOf(block);
        }
        expectEqual(sum, 0, "the difference between the sums of words read and written");
        return timing;
    }

    void verify(PatternedBlock& content) {
        forEachBlock(Use::Read, [&](Stream& stream, std::uint64_t block) {
            stream.read(buffer_.data(), blockSize);
            expectTrue(content.holds(buffer_.data(), block), "a file has the bytes that were written");
        });
    }

    /// Reads the first file. The timing counts reads.
    Timing readAtRandom(const PatternedBlock& content) {
        RandomReads reads(content, fileSize_, 100'000, store_->open(0, Use::Read));
        const Timing timing = measure(reads.count(), [&](std::size_t) { reads.readNext(); });
        reads.verify();
        return timing;
    }

private:
    static constexpr std::size_t blockSize = PatternedBlock::usualSize;

    /// Times the blocks of all files, but not their opening.
    template <typename Step>
    Timing forEachBlock(Use use, Step step) {
        Timing timing;
        for (PathIndex file = 0; file < files_; ++file) {
            const auto stream = store_->open(file, use, fileSize_);
            timing += measure(blocks_, [&](std::uint64_t i) { step(*stream, file * blocks_ + i); });
        }
        return {timing.operations * blockSize, timing.seconds};
    }

    std::uint64_t fileSize_;
    std::uint64_t blocks_ = fileSize_ / blockSize; ///< per file
    PathIndex files_;
    AlignedBuffer buffer_{blockSize};
    std::unique_ptr<Store> store_;
};

} // namespace

void runBigFiles(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint64_t fileSize,
                 std::uint64_t allSizes) {
    constexpr double gigabyte = 1e9;
    BigFiles files(kind, fileSize, allSizes);
    PatternedBlock content(1);
    const Timing writing = files.write(content, Use::Create);
    files.verify(content);
    if (kind.can(Ability::Write)) {
        rows.addRate("write", variant, writing, gigabyte);
    }
    if (kind.can(Ability::OverwriteInPlace)) {
        content = PatternedBlock(2);
        rows.addRate("overwrite", variant, files.write(content, Use::Overwrite), gigabyte);
        files.verify(content);
    }
    rows.addRate("read", variant, files.read(content), gigabyte);
    if (fileSize == allSizes) {
        rows.addCost("random read", variant, files.readAtRandom(content));
    }
}

} // namespace storage::benchmark
