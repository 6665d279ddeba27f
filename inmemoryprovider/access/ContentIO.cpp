#include "inmemoryprovider/access/ContentIO.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>

namespace storage::inmemoryprovider {

using foundation::storage::provider::ByteStreamAppend;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr long noBytes = -1;
constexpr std::streamoff noPosition = -1;

/// From this size on, contents are large: copying them costs more than the address space that saves copying.
constexpr std::size_t large = 2U << 20U;

/// From this size on, contents are put on pages of 2 MiB. The last of them may be mostly unused: at most an eighth.
constexpr std::size_t worthHugePages = 16U << 20U;

/// Large contents grow to eight times their capacity. What is not yet written of it takes no memory, only
/// addresses; and all copying that growth brings sums up to between 1/7 and 8/7 of the size, where doubling copies
/// one to two times the size.
constexpr std::size_t generousGrowth = 8;

/// Grows so far that copies cost constant time for each byte on average.
std::size_t leastCapacityFor(const Bytes& content, std::size_t needed) {
    const std::size_t most = content.max_size();
    return std::max(content.capacity() > most / 2 ? most : content.capacity() * 2, needed);
}

/// Reserves generously, or, where the system does not give that much, what is needed.
void reserveLarge(Bytes& grown, const Bytes& content, std::size_t needed) {
    if (needed < content.max_size() / generousGrowth) {
        try {
            grown.reserve(std::max(content.capacity() * generousGrowth, needed));
            return;
        } catch (const std::bad_alloc&) {
            // The address space, or what the system allows of it, is nearly used up.
        }
    }
    grown.reserve(leastCapacityFor(content, needed));
}

/// Asks for pages of 2 MiB: each is had by one interruption of the program where 512 small ones take one each. Must
/// come before the memory is touched. That a system has no such pages does not matter.
void adviseHugePages([[maybe_unused]] Bytes& reserved) {
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t hugePage = 2U << 20U;
    const auto begin = reinterpret_cast<std::uintptr_t>(reserved.data());
    const auto first = (begin + hugePage - 1) / hugePage * hugePage;
    const auto last = (begin + reserved.capacity()) / hugePage * hugePage;
    if (first < last) {
        const int errorBefore = errno;
        madvise(reserved.data() + (first - begin), last - first, MADV_HUGEPAGE);
        errno = errorBefore;
    }
#endif
}

void growFor(Bytes& content, std::size_t added) {
    if (added > content.max_size() - content.size()) {
        content.reserve(content.max_size() + 1); // throws std::length_error
    }
    const std::size_t needed = content.size() + added;
    if (needed <= content.capacity()) {
        return;
    }
    if (needed < large) {
        content.reserve(leastCapacityFor(content, needed));
        return;
    }
    Bytes grown;
    reserveLarge(grown, content, needed);
    if (needed >= worthHugePages) {
        adviseHugePages(grown);
    }
    grown.insert(grown.end(), content.begin(), content.end());
    content.swap(grown);
}

void appendBytes(Bytes& content, const char* buffer, std::size_t count, unsigned long& position) {
    growFor(content, count);
    // As bytes of the content's own type they are copied in blocks, and not one by one.
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer);
    content.insert(content.end(), bytes, bytes + count);
    position = content.size();
}

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
        appendBytes(content, buffer, left, position);
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
