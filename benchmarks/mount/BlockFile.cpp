#include "benchmarks/mount/BlockFile.h"

#include "benchmarks/mount/PageCache.h"
#include "benchmarks/workload/WrongResult.h"

#include <fcntl.h>
#include <numeric>
#include <utility>

namespace storage::benchmark {

BlockFile::BlockFile(std::filesystem::path path, std::size_t blockSize, std::uint64_t size)
    : path_(std::move(path)),
      blockSize_(blockSize),
      numbers_(size / blockSize),
      content_(blockSize, blockSize),
      buffer_(blockSize) {
    std::iota(numbers_.begin(), numbers_.end(), 0U);
}

Timing BlockFile::timed(int flags, std::size_t blocks, const std::function<void(FileStream&)>& step) const {
    const auto start = std::chrono::steady_clock::now();
    FileStream file(path_.c_str(), flags);
    step(file);
    file.close();
    return {blocks, secondsSince(start)};
}

Timing BlockFile::write() {
    return timed(O_WRONLY | O_CREAT | O_EXCL, count(), [this](FileStream& file) {
        for (const std::uint64_t number : numbers_) {
            file.write(content_.stamped(number), blockSize_);
        }
    });
}

Timing BlockFile::read() {
    std::uint64_t sum = 0;
    const Timing timing = timed(O_RDONLY, count(), [&](FileStream& file) {
        for (std::size_t block = 0; block < count(); ++block) {
            file.read(buffer_.data(), blockSize_);
            sum += PatternedBlock::firstWord(buffer_.data());
        }
    });
    for (const std::uint64_t number : numbers_) {
        sum -= PatternedBlock::firstWord(content_.stamped(number));
    }
    expectEqual(sum, 0, "the difference between the sums of what was read and written");
    return timing;
}

Timing BlockFile::read(const std::vector<std::uint32_t>& blocks) {
    std::uint64_t sum = 0;
    const Timing timing = timed(O_RDONLY, blocks.size(), [&](FileStream& file) {
        for (const std::uint32_t block : blocks) {
            file.readAt(block * blockSize_, buffer_.data(), blockSize_);
            sum += PatternedBlock::firstWord(buffer_.data());
        }
    });
    for (const std::uint32_t block : blocks) {
        sum -= PatternedBlock::firstWord(content_.stamped(numbers_[block]));
    }
    expectEqual(sum, 0, "the difference between the sums of what was read and written");
    return timing;
}

Timing BlockFile::overwrite(const std::vector<std::uint32_t>& blocks) {
    const std::uint64_t firstNumber = count();
    const Timing timing = timed(O_WRONLY, blocks.size(), [&](FileStream& file) {
        for (const std::uint32_t block : blocks) {
            file.writeAt(block * blockSize_, content_.stamped(firstNumber + block), blockSize_);
        }
    });
    for (const std::uint32_t block : blocks) {
        numbers_[block] = firstNumber + block;
    }
    return timing;
}

void BlockFile::dropCache() const {
    dropCachedPages(path_);
}

void BlockFile::verify() {
    dropCache();
    FileStream file(path_.c_str(), O_RDONLY);
    for (const std::uint64_t number : numbers_) {
        file.read(buffer_.data(), blockSize_);
        expectTrue(content_.holds(buffer_.data(), number), "a block has the bytes that were written");
    }
    expectEqual(std::filesystem::file_size(path_), count() * blockSize_, "the size of the file");
}

} // namespace storage::benchmark
