#pragma once

#include "benchmarks/workload/AlignedBuffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storage::benchmark {

/// A block with a fixed pattern and a number at both ends. It is written many times with different numbers,
/// so that data read back can be verified at any position.
class PatternedBlock {
public:
    static constexpr std::size_t usualSize = 64 * 1024;

    /// @param salt  blocks with different salts differ everywhere
    /// @param size  of a whole block, a multiple of the page size
    explicit PatternedBlock(std::uint64_t salt, std::size_t size = usualSize);

    /// The block with this number.
    const char* stamped(std::uint64_t number) { return stamped(number, size_); }

    /// The first `count` bytes of the block with this number, at least 16. The second number is in their last
    /// whole word.
    const char* stamped(std::uint64_t number, std::size_t count);

    /// Whether `bytes` are equal to the block with this number.
    bool holds(const char* bytes, std::uint64_t number) { return holds(bytes, number, size_); }

    /// Whether `bytes` are equal to the first `count` bytes of the block with this number.
    bool holds(const char* bytes, std::uint64_t number, std::size_t count);

    /// The 8 bytes at `offset`, a multiple of 8, in a sequence of blocks numbered from 0 on.
    std::uint64_t wordAt(std::uint64_t offset) const;

    /// The first 8 bytes of the data.
    static std::uint64_t firstWord(const char* bytes);

private:
    std::uint64_t stampOf(std::uint64_t number) const { return number * 0x9E3779B97F4A7C15U + salt_; }

    std::uint64_t salt_;
    std::size_t size_;
    std::vector<std::uint64_t> pattern_;
    std::size_t stampedWords_ = pattern_.size();
    AlignedBuffer memory_{size_};
    std::uint64_t* block_ = reinterpret_cast<std::uint64_t*>(memory_.data());
};

} // namespace storage::benchmark
