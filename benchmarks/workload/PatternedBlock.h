#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storage::benchmark {

/// A page-aligned buffer. The alignment affects the time of a copy, and would otherwise depend on earlier
/// allocations.
class AlignedBuffer {
public:
    /// @param size  in bytes, rounded up to whole pages
    explicit AlignedBuffer(std::size_t size) : pages_((size + sizeof(Page) - 1) / sizeof(Page)) {}

    char* data() { return reinterpret_cast<char*>(pages_.data()); }

private:
    struct alignas(4096) Page {
        char bytes[4096];
    };

    std::vector<Page> pages_;
};

/// A block with a fixed pattern and a number at both ends. It is written many times with different numbers,
/// so that data read back can be verified at any position.
class PatternedBlock {
public:
    static constexpr std::size_t usualSize = 64 * 1024;

    /// @param salt  blocks with different salts differ everywhere
    /// @param size  at least 16
    explicit PatternedBlock(std::uint64_t salt, std::size_t size = usualSize);

    std::size_t size() const { return size_; }

    /// The block with this number: its first and its last whole word are `stampOf(number)`.
    const char* stamped(std::uint64_t number);

    std::uint64_t stampOf(std::uint64_t number) const { return number * 0x9E3779B97F4A7C15U + salt_; }

    /// Whether `bytes` are equal to the block with this number.
    bool holds(const char* bytes, std::uint64_t number);

    /// The 8 bytes at `offset`, in a sequence of blocks numbered from 0 on. Both `offset` and the size are
    /// multiples of 8.
    std::uint64_t wordAt(std::uint64_t offset) const;

    /// The first 8 bytes of the data.
    static std::uint64_t firstWord(const char* bytes);

private:
    std::uint64_t salt_;
    std::size_t size_;
    AlignedBuffer memory_{size_};
    std::uint64_t* words_ = reinterpret_cast<std::uint64_t*>(memory_.data());
    std::size_t lastWord_ = size_ / sizeof(std::uint64_t) - 1;
};

} // namespace storage::benchmark
