#include "inmemoryprovider/access/ContentIO.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/access/ContentGrowth.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace storage::inmemoryprovider {

using provider::ByteStreamAppend;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr long noBytes = -1;
constexpr std::streamoff noPosition = -1;

std::optional<long> seekOrigin(const Bytes& content, std::ios_base::seekdir direction,
                               unsigned long position) {
    switch (direction) {
    case std::ios_base::beg:
        return 0;
    case std::ios_base::cur:
        return static_cast<long>(position);
    case std::ios_base::end:
        return static_cast<long>(content.size());
    default:
        return std::nullopt;
    }
}

} // namespace

long readContent(const Bytes& content, char* buffer, long count, unsigned long& position) {
    if (position >= content.size()) {
        return noBytes;
    }
    const std::size_t available = content.size() - position;
    const std::size_t copied = std::min(available, static_cast<std::size_t>(count));
    if (copied == 0) {
        return noBytes;
    }
    std::memcpy(buffer, content.data() + position, copied);
    position += copied;
    return static_cast<long>(copied);
}

long writeContent(Bytes& content, const char* buffer, long count, unsigned long& position,
                  ByteStreamAppend append) {
    if (append == ByteStreamAppend::AppendAtEnd) {
        position = content.size();
    }
    if (count <= 0) {
        return count;
    }
    auto left = static_cast<std::size_t>(count);
    if (position < content.size()) {
        const std::size_t overwritten = std::min(content.size() - position, left);
        std::memcpy(content.data() + position, buffer, overwritten);
        position += overwritten;
        buffer += overwritten;
        left -= overwritten;
    }
    if (left > 0) {
        // Iterators of the content's own type are copied in blocks, not byte by byte.
        appendBytes(content, reinterpret_cast<const std::uint8_t*>(buffer), left);
        position = content.size();
    }
    return count;
}

std::streampos seekContent(const Bytes& content, long offset, std::ios_base::seekdir direction,
                           unsigned long& position) {
    const auto origin = seekOrigin(content, direction, position);
    long target = 0;
    if (!origin || __builtin_add_overflow(*origin, offset, &target) || target < 0 ||
        static_cast<std::size_t>(target) > content.size()) {
        return noPosition;
    }
    position = static_cast<unsigned long>(target);
    return target;
}

} // namespace storage::inmemoryprovider
