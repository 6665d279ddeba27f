#include "benchmarks/workload/PatternedBlock.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace storage::benchmark {

PatternedBlock::PatternedBlock(std::uint64_t salt, std::size_t size) : salt_(salt), size_(size) {
    const std::size_t words = (size + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t);
    std::generate_n(words_, words, std::mt19937_64(salt));
}

const char* PatternedBlock::stamped(std::uint64_t number) {
    words_[0] = words_[lastWord_] = stampOf(number);
    return memory_.data();
}

bool PatternedBlock::holds(const char* bytes, std::uint64_t number) {
    return std::memcmp(bytes, stamped(number), size_) == 0;
}

std::uint64_t PatternedBlock::wordAt(std::uint64_t offset) const {
    const std::uint64_t word = offset % size_ / sizeof(std::uint64_t);
    return word == 0 || word == lastWord_ ? stampOf(offset / size_) : words_[word];
}

std::uint64_t PatternedBlock::firstWord(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

} // namespace storage::benchmark
