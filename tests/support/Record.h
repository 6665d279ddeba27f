#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace storage::tests {

/// A block of bytes that detects torn writes: every word is the tag times an odd number that depends on its
/// position. A block of zeros, which extends a file, is the record with tag 0.
///
/// Records are contiguous, so an array of them can be written and read in one call.
class Record {
public:
    static constexpr long size = 256;

    explicit Record(std::uint64_t tag = 0) {
        for (std::size_t place = 0; place < words_.size(); ++place) {
            words_[place] = wordAt(place, tag);
        }
    }

    std::uint64_t tag() const { return words_[0]; }

    bool isWhole() const { return *this == Record(tag()); }

    bool operator==(const Record&) const = default;

    char* bytes() { return reinterpret_cast<char*>(words_.data()); }
    const char* bytes() const { return reinterpret_cast<const char*>(words_.data()); }

private:
    static std::uint64_t wordAt(std::size_t place, std::uint64_t tag) { return tag * (2 * place + 1); }

    std::array<std::uint64_t, size / sizeof(std::uint64_t)> words_;
};

static_assert(sizeof(Record) == Record::size);

} // namespace storage::tests
