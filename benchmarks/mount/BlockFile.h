#pragma once

#include "benchmarks/mount/PageCache.h"
#include "benchmarks/workload/Expect.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/Timing.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// A file of numbered blocks, with timed and verified steps. Each step opens and closes the file. Timings
/// count blocks. A wrong result throws.
class BlockFile {
public:
    using Blocks = std::vector<std::uint32_t>;

    BlockFile(std::filesystem::path path, std::size_t blockSize, std::uint64_t size)
        : path_(std::move(path)), all_(size / blockSize), content_(blockSize, blockSize), buffer_(blockSize) {
        std::iota(all_.begin(), all_.end(), 0U);
        numbers_.assign(all_.begin(), all_.end());
    }

    std::size_t count() const { return all_.size(); }

    /// Creates the file and writes it in order.
    Timing write() { return write(O_WRONLY | O_CREAT | O_EXCL, all_); }

    /// Overwrites these blocks, each at most once.
    Timing overwrite(const Blocks& blocks) {
        for (const std::uint32_t block : blocks) {
            numbers_[block] += count();
        }
        return write(O_WRONLY, blocks);
    }

    /// Reads the file in order.
    Timing read() { return read(all_); }

    Timing read(const Blocks& blocks) {
        std::uint64_t sum = 0;
        const Timing timing = timed(O_RDONLY, blocks, [&](FileStream& file, std::uint32_t block) {
            file.readAt(block * content_.size(), buffer_.data(), content_.size());
            sum += PatternedBlock::firstWord(buffer_.data());
        });
        for (const std::uint32_t block : blocks) {
            sum -= content_.stampOf(numbers_[block]);
        }
        expectEqual(sum, 0, "the difference between the sums of words read and written");
        return timing;
    }

    void dropCache() const { dropCachedPages(path_); }

    /// Compares the file with what was written, with a cold page cache.
    void verify() {
        dropCache();
        timed(O_RDONLY, all_, [this](FileStream& file, std::uint32_t block) {
            file.read(buffer_.data(), content_.size());
            expectTrue(content_.holds(buffer_.data(), numbers_[block]),
                       "a block has the bytes that were written");
        });
        expectEqual(std::filesystem::file_size(path_), count() * content_.size(), "the size of the file");
    }

private:
    Timing write(int flags, const Blocks& blocks) {
        return timed(flags, blocks, [this](FileStream& file, std::uint32_t block) {
            file.writeAt(block * content_.size(), content_.stamped(numbers_[block]), content_.size());
        });
    }

    template <typename Step>
    Timing timed(int flags, const Blocks& blocks, Step step) const {
        const auto start = std::chrono::steady_clock::now();
        FileStream file(path_.c_str(), flags);
        for (const std::uint32_t block : blocks) {
            step(file, block);
        }
        file.close();
        return {blocks.size(), secondsSince(start)};
    }

    std::filesystem::path path_;
    Blocks all_;                         ///< in order
    std::vector<std::uint64_t> numbers_; ///< the number that each block contains
    PatternedBlock content_;
    AlignedBuffer buffer_;
};

} // namespace storage::benchmark
