#include "tests/stress/size/TestBytes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace storage::stress {

void TestBytes::fill(std::vector<char>& part, std::uint64_t offset) const noexcept {
    for (std::size_t filled = 0; filled < part.size();) {
        const std::uint64_t place = offset + filled;
        const std::uint64_t word = wordAt(place / sizeof(word));
        const std::size_t skipped = place % sizeof(word);
        const std::size_t count = std::min(sizeof(word) - skipped, part.size() - filled);
        std::memcpy(part.data() + filled, reinterpret_cast<const char*>(&word) + skipped, count);
        filled += count;
    }
}

/// Mixes the bits so that every byte depends on the whole index.
std::uint64_t TestBytes::wordAt(std::uint64_t index) const noexcept {
    std::uint64_t word = (index + 1) * 0x9E3779B97F4A7C15U + seed_;
    word ^= word >> 29U;
    word *= 0xBF58476D1CE4E5B9U;
    word ^= word >> 32U;
    return word;
}

} // namespace storage::stress
