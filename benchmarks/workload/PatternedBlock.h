#pragma once

#include "benchmarks/workload/AlignedBuffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storage::benchmark {

/// A block of bytes to be written many times, each time with another number at both ends and the same pattern
/// between them, so that what is read back tells whether it is right, wherever it was read from.
class PatternedBlock {
public:
    static constexpr std::size_t usualSize = 64 * 1024;

    /// @param salt  makes blocks of different salts differ everywhere
    /// @param size  of a whole block: whole pages
    explicit PatternedBlock(std::uint64_t salt, std::size_t size = usualSize);

    /// The block with this number.
    const char* stamped(std::uint64_t number) { return stamped(number, size_); }

    /// The first `count` bytes of the block with this number, at least 16. The second stamp is their last whole word.
    const char* stamped(std::uint64_t number, std::size_t count);

    /// Whether `bytes` are the block with this number.
    bool holds(const char* bytes, std::uint64_t number) { return holds(bytes, number, size_); }

    /// Whether `bytes` are the first `count` bytes of the block with this number.
    bool holds(const char* bytes, std::uint64_t number, std::size_t count);

    /// The 8 bytes at `offset`, a multiple of 8, of blocks one after the other whose numbers begin with 0.
    std::uint64_t wordAt(std::uint64_t offset) const;

    /// The first 8 bytes of what was read.
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
