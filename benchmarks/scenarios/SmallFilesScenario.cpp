#include "benchmarks/scenarios/Scenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t blockSize = 4096;

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
        first_ = 1;
        for (std::uint32_t i = 0; i < files; ++i) {
            paths.add(fmt::format("/files/f{:07}", i));
        }
        store_->prepare(paths.all());
    }

    Timing fill() {
        store_->createFolder(0);
        std::iota(numbers_.begin(), numbers_.end(), 0);
        return measure(numbers_.size(), withoutBudget, [&](std::size_t i) {
            const auto file = static_cast<PathIndex>(i);
            store_->createStream(first_ + file, fileSize_)->write(block_.stamped(file, fileSize_), fileSize_);
        });
    }

    Timing read() {
        std::uint64_t sum = 0;
        const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
            store_->readFile(first_ + fileOf(i), buffer_.data(), fileSize_);
            sum += PatternedBlock::firstWord(buffer_.data());
        });
        std::uint64_t expected = 0;
        for (std::size_t i = 0; i < order_.size(); ++i) {
            expected += PatternedBlock::firstWord(block_.stamped(numbers_[fileOf(i)], fileSize_));
        }
        expectEqual(sum, expected, "the sum of what was read");
        return timing;
    }

    Timing overwrite() {
        const std::uint64_t firstNumber = numbers_.size();
        const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
            store_->overwriteFile(first_ + fileOf(i), block_.stamped(firstNumber + i, fileSize_), fileSize_);
        });
        for (std::size_t i = 0; i < order_.size(); ++i) {
            numbers_[fileOf(i)] = firstNumber + i;
        }
        return timing;
    }

    void verify() {
        for (std::uint32_t file = 0; file < numbers_.size(); ++file) {
            store_->readFile(first_ + file, buffer_.data(), fileSize_);
            expectTrue(block_.holds(buffer_.data(), numbers_[file], fileSize_),
                       "a file has the bytes that it was given");
            expectEqual(store_->fileSize(first_ + file), fileSize_, "the size of a file");
        }
    }

private:
    std::uint32_t fileOf(std::size_t operation) const { return order_[operation]; }

    std::size_t fileSize_;
    std::vector<std::uint32_t> order_;   ///< the file of each operation
    std::vector<std::uint64_t> numbers_; ///< the block number that each file contains
    PathIndex first_ = 0;
    PatternedBlock block_{4096, blockSize};
    AlignedBuffer buffer_{blockSize};
    std::unique_ptr<Store> store_;
};

void runSmallFiles(const StoreKind& kind, const std::string& variant, SmallFilesRun& run, Rows& rows) {
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
}

} // namespace

Scenario smallFilesScenario(const std::string& variant, std::size_t fileSize, std::uint32_t files,
                            std::uint32_t operations) {
    return {"small-files-" + variant, {Ability::ReadFile}, [=](const StoreKind& kind, Rows& rows) {
                SmallFilesRun run(kind, fileSize, files, operations);
                runSmallFiles(kind, variant, run, rows);
            }};
}

} // namespace storage::benchmark
