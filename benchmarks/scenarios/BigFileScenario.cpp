#include "benchmarks/scenarios/Scenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <memory>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t randomReads = 100'000;
constexpr std::size_t randomReadSize = 4096;

/// One run: files with blocks numbered from 0 on in each file.
class BigFileRun {
public:
    BigFileRun(const StoreKind& kind, std::uint64_t fileSize, std::uint64_t allSizes)
        : fileSize_(fileSize),
          blocks_(fileSize / PatternedBlock::usualSize),
          files_(static_cast<PathIndex>(allSizes / fileSize)),
          store_(kind.build()) {
        PathList paths;
        for (PathIndex file = 0; file < files_; ++file) {
            paths.add(fmt::format("/file{:04}", file));
        }
        store_->prepare(paths.all());
    }

    double write() {
        double seconds = 0;
        for (PathIndex file = 0; file < files_; ++file) {
            seconds += writeBlocks(*store_->createStream(file, fileSize_), file);
        }
        return seconds;
    }

    double overwrite() {
        content_ = std::make_unique<PatternedBlock>(2);
        double seconds = 0;
        for (PathIndex file = 0; file < files_; ++file) {
            seconds += writeBlocks(*store_->openToOverwrite(file), file);
        }
        return seconds;
    }

    double read() {
        double seconds = 0;
        for (PathIndex file = 0; file < files_; ++file) {
            const auto stream = store_->openToRead(file);
            std::uint64_t sum = 0;
            seconds += measure(blocks_, withoutBudget, [&](std::size_t) {
                           stream->read(buffer_.data(), PatternedBlock::usualSize);
                           sum += PatternedBlock::firstWord(buffer_.data());
                       }).seconds;
            std::uint64_t expected = 0;
            for (std::uint64_t block = 0; block < blocks_; ++block) {
                expected += content_->wordAt(numberOf(file, block) * PatternedBlock::usualSize);
            }
            expectEqual(sum, expected, "the sum of what was read");
        }
        return seconds;
    }

    void verify() {
        for (PathIndex file = 0; file < files_; ++file) {
            const auto stream = store_->openToRead(file);
            for (std::uint64_t block = 0; block < blocks_; ++block) {
                stream->read(buffer_.data(), PatternedBlock::usualSize);
                expectTrue(content_->holds(buffer_.data(), numberOf(file, block)),
                           "a file has the bytes that were written");
            }
        }
    }

    Timing readAtRandom() {
        std::vector<std::uint64_t> offsets(randomReads);
        auto random = fixedRandom();
        std::uint64_t expected = 0;
        for (std::uint64_t& offset : offsets) {
            offset = random() % ((fileSize_ - randomReadSize) / 8 + 1) * 8;
            expected += content_->wordAt(offset);
        }
        const auto stream = store_->openToRead(0);
        std::uint64_t sum = 0;
        const Timing timing = measure(randomReads, withoutBudget, [&](std::size_t i) {
            stream->readAt(offsets[i], buffer_.data(), randomReadSize);
            sum += PatternedBlock::firstWord(buffer_.data());
        });
        expectEqual(sum, expected, "the sum of what was read at random");
        return timing;
    }

private:
    double writeBlocks(Stream& stream, std::uint64_t file) {
        return measure(blocks_, withoutBudget,
                       [&](std::size_t block) {
                           stream.write(content_->stamped(numberOf(file, block)), PatternedBlock::usualSize);
                       })
            .seconds;
    }

    std::uint64_t numberOf(std::uint64_t file, std::uint64_t block) const { return file * blocks_ + block; }

    std::uint64_t fileSize_;
    std::uint64_t blocks_; ///< per file
    PathIndex files_;
    std::unique_ptr<PatternedBlock> content_ = std::make_unique<PatternedBlock>(1);
    AlignedBuffer buffer_{PatternedBlock::usualSize};
    std::unique_ptr<Store> store_;
};

void runBigFiles(const StoreKind& kind, const std::string& variant, std::uint64_t fileSize,
                 std::uint64_t allSizes, Rows& rows) {
    constexpr double gigabyte = 1e9;
    BigFileRun run(kind, fileSize, allSizes);
    const double writing = run.write();
    run.verify();
    if (kind.can(Ability::Write)) {
        rows.addRate("write", variant, {allSizes, writing}, gigabyte);
    }
    if (kind.can(Ability::OverwriteInPlace)) {
        rows.addRate("overwrite", variant, {allSizes, run.overwrite()}, gigabyte);
        run.verify();
    }
    rows.addRate("read", variant, {allSizes, run.read()}, gigabyte);
    if (fileSize == allSizes) {
        rows.addCost("random read", variant, run.readAtRandom());
    }
}

} // namespace

Scenario bigFileScenario(const std::string& variant, std::uint64_t fileSize, std::uint64_t allSizes) {
    return {"big-file-" + variant, {Ability::Read}, [=](const StoreKind& kind, Rows& rows) {
                runBigFiles(kind, variant, fileSize, allSizes, rows);
            }};
}

} // namespace storage::benchmark
