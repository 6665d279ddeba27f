#include "benchmarks/scenarios/SmallFilesScenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <memory>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t fileSize = 4096;

/// One run: the files, and what each of them holds.
class SmallFilesRun {
public:
    SmallFilesRun(const StoreKind& kind, std::uint32_t files, std::uint32_t operations);

    void fill();
    Timing read();
    Timing overwrite();
    void verify();

private:
    std::uint32_t fileOf(std::size_t operation) const { return order_[operation]; }

    std::vector<std::uint32_t> order_;   ///< the file of each operation
    std::vector<std::uint64_t> numbers_; ///< of the block that each file holds
    PathIndex first_ = 0;
    PatternedBlock block_{4096};
    AlignedBuffer buffer_{fileSize};
    std::unique_ptr<Store> store_;
};

SmallFilesRun::SmallFilesRun(const StoreKind& kind, std::uint32_t files, std::uint32_t operations)
    : order_(randomOrder(operations)), numbers_(files), store_(kind.build()) {
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

void SmallFilesRun::fill() {
    store_->createFolder(0);
    for (std::uint32_t file = 0; file < numbers_.size(); ++file) {
        numbers_[file] = file;
        store_->createStream(first_ + file, fileSize)->write(block_.stamped(file, fileSize), fileSize);
        expectEqual(store_->fileSize(first_ + file), fileSize, "the size of a file");
    }
}

Timing SmallFilesRun::read() {
    std::uint64_t sum = 0;
    const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
        store_->readFile(first_ + fileOf(i), buffer_.data(), fileSize);
        sum += PatternedBlock::firstWord(buffer_.data());
    });
    std::uint64_t expected = 0;
    for (std::size_t i = 0; i < order_.size(); ++i) {
        expected += PatternedBlock::firstWord(block_.stamped(numbers_[fileOf(i)], fileSize));
    }
    expectEqual(sum, expected, "the sum of what was read");
    return timing;
}

Timing SmallFilesRun::overwrite() {
    const std::uint64_t firstNumber = numbers_.size();
    const Timing timing = measure(order_.size(), withoutBudget, [&](std::size_t i) {
        store_->overwriteFile(first_ + fileOf(i), block_.stamped(firstNumber + i, fileSize), fileSize);
    });
    for (std::size_t i = 0; i < order_.size(); ++i) {
        numbers_[fileOf(i)] = firstNumber + i;
    }
    return timing;
}

void SmallFilesRun::verify() {
    for (std::uint32_t file = 0; file < numbers_.size(); ++file) {
        store_->readFile(first_ + file, buffer_.data(), fileSize);
        expectTrue(block_.holds(buffer_.data(), numbers_[file], fileSize),
                   "a file has the bytes that it was given");
        expectEqual(store_->fileSize(first_ + file), fileSize, "the size of a file");
    }
}

} // namespace

SmallFilesScenario::SmallFilesScenario(std::uint32_t files, std::uint32_t operations)
    : files_(files), operations_(operations) {}

void SmallFilesScenario::run(const StoreKind& kind, Measurements& measurements) const {
    SmallFilesRun run(kind, files_, operations_);
    run.fill();
    measurements.addCost({"open, read, release", "4 KiB"}, run.read());
    run.verify();
    if (kind.can(Ability::OverwriteFile)) {
        measurements.addCost({"open, overwrite, release", "4 KiB"}, run.overwrite());
        run.verify();
    }
}

} // namespace storage::benchmark
