#pragma once

#include "benchmarks/mount/PageCache.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/Timing.h"
#include "benchmarks/workload/WrongResult.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <numeric>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// A file of numbered blocks, with timed and verified steps. Each step opens and closes the file. Timings
/// count blocks.
class BlockFile {
public:
    BlockFile(std::filesystem::path path, std::size_t blockSize, std::uint64_t size)
        : path_(std::move(path)),
          blockSize_(blockSize),
          numbers_(size / blockSize),
          content_(blockSize, blockSize),
          buffer_(blockSize) {
        std::iota(numbers_.begin(), numbers_.end(), 0U);
    }

    /// Creates the file and writes it in order.
    Timing write() {
        return timed(O_WRONLY | O_CREAT | O_EXCL, count(), [this](FileStream& file) {
            for (const std::uint64_t number : numbers_) {
                file.write(content_.stamped(number), blockSize_);
            }
        });
    }

    /// Reads the file in order.
    /// @throws WrongResult
    Timing read() {
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
        expectEqual(sum, 0, "the difference between the sums of words read and written");
        return timing;
    }

    /// Reads these blocks.
    /// @throws WrongResult
    Timing read(const std::vector<std::uint32_t>& blocks) {
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
        expectEqual(sum, 0, "the difference between the sums of words read and written");
        return timing;
    }

    /// Overwrites these blocks, each at most once.
    Timing overwrite(const std::vector<std::uint32_t>& blocks) {
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

    void dropCache() const { dropCachedPages(path_); }

    /// Reads the file with a cold page cache.
    /// @throws WrongResult when it has another content than was written
    void verify() {
        dropCache();
        FileStream file(path_.c_str(), O_RDONLY);
        for (const std::uint64_t number : numbers_) {
            file.read(buffer_.data(), blockSize_);
            expectTrue(content_.holds(buffer_.data(), number), "a block has the bytes that were written");
        }
        expectEqual(std::filesystem::file_size(path_), count() * blockSize_, "the size of the file");
    }

    std::size_t count() const { return numbers_.size(); }

private:
    Timing timed(int flags, std::size_t blocks, const std::function<void(FileStream&)>& step) const {
        const auto start = std::chrono::steady_clock::now();
        FileStream file(path_.c_str(), flags);
        step(file);
        file.close();
        return {blocks, secondsSince(start)};
    }

    std::filesystem::path path_;
    std::size_t blockSize_;
    std::vector<std::uint64_t> numbers_; ///< the number that each block contains
    PatternedBlock content_;
    AlignedBuffer buffer_;
};

} // namespace storage::benchmark
