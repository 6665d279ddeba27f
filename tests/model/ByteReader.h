#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace storage::inmemoryprovider::tests {

/// Decodes numbers from a byte sequence. Beyond its end all numbers are 0. A byte that the fuzzer inserts or
/// removes shifts the later numbers and does not change the earlier ones.
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

    /// A little-endian number of `width` bytes.
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
