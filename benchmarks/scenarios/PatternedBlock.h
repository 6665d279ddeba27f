#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace storage::benchmark {

/// A block of bytes to be written many times, each time with another number at both ends and the same pattern
/// between them, so that what is read back tells whether it is right, wherever it was read from.
class PatternedBlock {
public:
    static constexpr std::size_t size = 64 * 1024;

    /// @param salt  makes blocks of different salts differ everywhere
    explicit PatternedBlock(std::uint64_t salt);

    /// The first `count` bytes of the block with this number: a multiple of 8, at least 16.
    const char* stamped(std::uint64_t number, std::size_t count = size);

    /// Whether `bytes` are the first `count` bytes of the block with this number.
    bool holds(const char* bytes, std::uint64_t number, std::size_t count = size);

    /// The 8 bytes at `offset`, a multiple of 8, of blocks one after the other whose numbers begin with 0.
    std::uint64_t wordAt(std::uint64_t offset) const;

    /// The first 8 bytes of what was read.
    static std::uint64_t firstWord(const char* bytes);

private:
    static constexpr std::size_t words = size / sizeof(std::uint64_t);

    std::uint64_t stampOf(std::uint64_t number) const { return number * 0x9E3779B97F4A7C15U + salt_; }

    std::uint64_t salt_;
    std::size_t stampedWords_ = words;
    std::array<std::uint64_t, words> pattern_{};
    alignas(4096) std::array<std::uint64_t, words> block_{}; ///< as in `AlignedBuffer`
};

} // namespace storage::benchmark
