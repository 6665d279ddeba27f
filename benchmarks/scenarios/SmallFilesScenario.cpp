#include "benchmarks/scenarios/Scenario.h"

#include <array>
#include <numeric>

namespace storage::benchmark {

namespace {

/// One run: the files and their contents.
class SmallFilesRun {
public:
    SmallFilesRun(const StoreKind& kind, std::size_t fileSize, std::uint32_t files, std::uint32_t operations)
        : fileSize_(fileSize), order_(randomOrder(operations)), numbers_(files), store_(kind.build()) {
        for (std::uint32_t& file : order_) {
            file %= files;
        }
        PathList paths;
        paths.add("/files");
        paths.addFiles("/files", files);
        store_->prepare(paths.all());
    }

    Timing fill() {
        store_->createFolder(0);
        std::iota(numbers_.begin(), numbers_.end(), 0);
        return measure(numbers_.size(), withoutBudget, [&](std::size_t file) {
            store_->createStream(pathOf(file), fileSize_)->write(block_.stamped(file, fileSize_), fileSize_);
        });
    }

    Timing read() {
        std::uint64_t sum = 0;
        const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
            store_->readFile(pathOf(order_[i]), buffer_.data(), fileSize_);
            sum += PatternedBlock::firstWord(buffer_.data());
        });
        std::uint64_t expected = 0;
        for (const std::uint32_t file : order_) {
            expected += PatternedBlock::firstWord(block_.stamped(numbers_[file], fileSize_));
        }
        expectEqual(sum, expected, "the sum of the words read");
        return timing;
    }

    Timing overwrite() {
        const std::uint64_t firstNumber = numbers_.size();
        const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
            store_->overwriteFile(pathOf(order_[i]), block_.stamped(firstNumber + i, fileSize_), fileSize_);
        });
        for (std::size_t i = 0; i < order_.size(); ++i) {
            numbers_[order_[i]] = firstNumber + i;
        }
        return timing;
    }

    void verify() {
        for (std::size_t file = 0; file < numbers_.size(); ++file) {
            store_->readFile(pathOf(file), buffer_.data(), fileSize_);
            expectTrue(block_.holds(buffer_.data(), numbers_[file], fileSize_),
                       "a file has the bytes that were written");
            expectEqual(store_->fileSize(pathOf(file)), fileSize_, "the size of a file");
        }
    }

private:
    static constexpr std::size_t blockSize = 4096;

    static PathIndex pathOf(std::size_t file) { return static_cast<PathIndex>(1 + file); }

    std::size_t fileSize_;
    std::vector<std::uint32_t> order_;   ///< the file of each operation
    std::vector<std::uint64_t> numbers_; ///< the block number that each file contains
    PatternedBlock block_{4096, blockSize};
    AlignedBuffer buffer_{blockSize};
    std::unique_ptr<Store> store_;
};

void runAppends(const StoreKind& kind, std::uint32_t writes, bool inAppendMode, Rows& rows) {
    constexpr PathIndex file = 0;
    std::array<char, 64> buffer{};
    const std::uint64_t size = std::uint64_t{writes} * buffer.size();
    PatternedBlock block(64);
    const auto store = kind.build();
    store->prepare({"/file"});
    auto stream = store->createStream(file, size);
    if (inAppendMode) {
        stream = store->openToAppend(file);
    }
    const Timing timing = measure(writes, withoutBudget, [&](std::size_t i) {
        stream->write(block.stamped(i, buffer.size()), buffer.size());
    });
    stream.reset();
    rows.addCost("append", inAppendMode ? "64 bytes, append mode" : "64 bytes, at the position", timing);
    expectEqual(store->fileSize(file), size, "the size of the file");
    stream = store->openToRead(file);
    for (std::uint32_t i = 0; i < writes; ++i) {
        stream->read(buffer.data(), buffer.size());
        expectTrue(block.holds(buffer.data(), i, buffer.size()), "the file has the bytes that were appended");
    }
}

} // namespace

Scenario smallFilesScenario(const std::string& variant, std::size_t fileSize, std::uint32_t files,
                            std::uint32_t operations) {
    return {"small-files-" + variant, {Ability::ReadFile}, [=](const StoreKind& kind, Rows& rows) {
                SmallFilesRun run(kind, fileSize, files, operations);
                const Timing filling = run.fill();
                run.verify();
                if (kind.can(Ability::Write)) {
                    rows.addCost("create, write, release", variant, filling);
                }
                rows.addCost("open, read, release", variant, run.read());
                if (kind.can(Ability::OverwriteFile)) {
                    rows.addCost("open, overwrite, release", variant, run.overwrite());
                    run.verify();
                }
            }};
}

Scenario appendScenario(std::uint32_t writes) {
    return {"append", {Ability::Append}, [=](const StoreKind& kind, Rows& rows) {
                for (const bool inAppendMode : {false, true}) {
                    runAppends(kind, writes, inAppendMode, rows);
                }
            }};
}

} // namespace storage::benchmark
