#include "benchmarks/scenarios/PatternedBlock.h"

#include <cstring>
#include <random>

namespace storage::benchmark {

PatternedBlock::PatternedBlock(std::uint64_t salt) : salt_(salt) {
    std::mt19937_64 random(salt);
    for (std::uint64_t& word : pattern_) {
        word = random();
    }
    block_ = pattern_;
}

const char* PatternedBlock::stamped(std::uint64_t number, std::size_t count) {
    block_[stampedWords_ - 1] = pattern_[stampedWords_ - 1];
    stampedWords_ = count / sizeof(std::uint64_t);
    block_[0] = block_[stampedWords_ - 1] = stampOf(number);
    return reinterpret_cast<const char*>(block_.data());
}

bool PatternedBlock::holds(const char* bytes, std::uint64_t number, std::size_t count) {
    return std::memcmp(bytes, stamped(number, count), count) == 0;
}

std::uint64_t PatternedBlock::wordAt(std::uint64_t offset) const {
    const std::uint64_t word = offset % size / sizeof(std::uint64_t);
    return word == 0 || word == words - 1 ? stampOf(offset / size) : pattern_[word];
}

std::uint64_t PatternedBlock::firstWord(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

} // namespace storage::benchmark
