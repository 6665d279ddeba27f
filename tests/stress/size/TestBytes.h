#pragma once

#include <cstdint>
#include <vector>

namespace storage::stress {

/// Bytes without end, each derived from its offset, so that any part of them can be told from any other. Two
/// sequences of different seeds differ. A value.
class TestBytes {
public:
    explicit TestBytes(std::uint64_t seed) noexcept : seed_(seed) {}

    /// Fills `part` with the bytes that begin at `offset`.
    void fill(std::vector<char>& part, std::uint64_t offset) const noexcept;

private:
    /// Eight bytes, the `index`th such.
    std::uint64_t wordAt(std::uint64_t index) const noexcept;

    std::uint64_t seed_;
};

} // namespace storage::stress
