#pragma once

#include <cstdint>
#include <vector>

namespace storage::stress {

/// An infinite sequence of pseudorandom bytes that depend on the seed and the offset, so that misplaced bytes
/// are detected. A value.
class TestBytes {
public:
    explicit TestBytes(std::uint64_t seed) noexcept : seed_(seed) {}

    /// Fills `part` with the bytes from `offset` on.
    void fill(std::vector<char>& part, std::uint64_t offset) const noexcept;

private:
    /// Eight bytes, from offset 8 * `index` on.
    std::uint64_t wordAt(std::uint64_t index) const noexcept;

    std::uint64_t seed_;
};

} // namespace storage::stress
