#include "benchmarks/workload/PatternedBlock.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace storage::benchmark {

PatternedBlock::PatternedBlock(std::uint64_t salt, std::size_t size)
    : salt_(salt), size_(size), pattern_(size / sizeof(std::uint64_t)) {
    std::mt19937_64 random(salt);
    std::generate(pattern_.begin(), pattern_.end(), random);
    std::copy(pattern_.begin(), pattern_.end(), block_);
}

const char* PatternedBlock::stamped(std::uint64_t number, std::size_t count) {
    block_[stampedWords_ - 1] = pattern_[stampedWords_ - 1];
    stampedWords_ = count / sizeof(std::uint64_t);
    block_[0] = block_[stampedWords_ - 1] = stampOf(number);
    return memory_.data();
}

bool PatternedBlock::holds(const char* bytes, std::uint64_t number, std::size_t count) {
    return std::memcmp(bytes, stamped(number, count), count) == 0;
}

std::uint64_t PatternedBlock::wordAt(std::uint64_t offset) const {
    const std::uint64_t word = offset % size_ / sizeof(std::uint64_t);
    return word == 0 || word == pattern_.size() - 1 ? stampOf(offset / size_) : pattern_[word];
}

std::uint64_t PatternedBlock::firstWord(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

} // namespace storage::benchmark
