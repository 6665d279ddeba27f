#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace storage::inmemoryprovider::tests {

/// Takes numbers from the front of some bytes; behind their end all numbers are 0. A byte that the fuzzer
/// inserts or drops thus shifts what follows and leaves what is in front.
///
/// Borrows the bytes.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool atEnd() const { return bytes_.empty(); }

    std::uint8_t byte() {
        if (bytes_.empty()) {
            return 0;
        }
        const std::uint8_t first = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return first;
    }

    std::int8_t signedByte() { return static_cast<std::int8_t>(byte()); }

    /// A number of `width` bytes, the lowest first.
    std::uint64_t number(std::size_t width) {
        std::uint64_t result = 0;
        for (std::size_t i = 0; i < width; ++i) {
            result |= std::uint64_t{byte()} << (8 * i);
        }
        return result;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace storage::inmemoryprovider::tests
