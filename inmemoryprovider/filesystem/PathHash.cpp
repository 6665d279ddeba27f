#include "inmemoryprovider/filesystem/PathHash.h"

#include <cstddef>
#include <cstring>

namespace storage::inmemoryprovider {

namespace {

// Odd numbers without structure: the leading bits of the fractional parts of the square roots of 2, 3 and 5.
constexpr std::uint64_t firstMask = 0x6a09'e667'f3bc'c909;
constexpr std::uint64_t secondMask = 0xbb67'ae85'84ca'a73b;
constexpr std::uint64_t lengthMask = 0x3c6e'f372'fe94'f82b;

/// The load address of the library, which ASLR makes unpredictable.
std::uint64_t seed() noexcept {
    static const char anchor = 0;
    return reinterpret_cast<std::uintptr_t>(&anchor);
}

std::uint64_t wordAt(const char* bytes) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Each bit of the result depends on all bits of both words.
std::uint64_t mixed(std::uint64_t left, std::uint64_t right) noexcept {
    __extension__ using DoubleWord = unsigned __int128;
    const DoubleWord product = static_cast<DoubleWord>(left) * right;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

} // namespace

std::uint64_t hashOf(std::u16string_view path) noexcept {
    constexpr std::size_t word = sizeof(std::uint64_t);
    constexpr std::size_t step = 2 * word;
    const char* bytes = reinterpret_cast<const char*>(path.data());
    std::size_t left = path.size() * sizeof(char16_t);

    std::uint64_t hash = mixed(seed() ^ lengthMask, left ^ secondMask);
    // If one factor is 0, the other has no effect. So each factor includes a value that depends on the seed:
    // no text can be chosen to make it 0.
    const std::uint64_t hidden = hash;
    for (; left > step; left -= step, bytes += step) {
        hash = mixed(wordAt(bytes) ^ firstMask ^ hash, wordAt(bytes + word) ^ hidden);
    }
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    if (left >= word) {
        first = wordAt(bytes);
        second = wordAt(bytes + left - word); // may overlap the first word
    } else if (left > 0) {                    // the pointer of an empty text may be null
        std::memcpy(&first, bytes, left);
    }
    return mixed(mixed(first ^ firstMask ^ hash, second ^ hidden), hash ^ lengthMask);
}

} // namespace storage::inmemoryprovider
