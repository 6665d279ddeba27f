#include "inmemoryprovider/access/ContentGrowth.h"

#include "inmemoryprovider/access/ContentPages.h"

#include <sys/resource.h>

#include <algorithm>
#include <new>

namespace storage::inmemoryprovider {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// From this size on, copying costs more than unused address space.
constexpr std::size_t generousFrom = 256U << 10U;

/// Growth factor of the capacity from `generousFrom` on. The unwritten part uses address space only. In
/// total, growing copies between 1/7 and 8/7 of the size; doubling would copy one to two times the size.
constexpr std::size_t generousGrowth = 8;

/// For smaller blocks, freeing pages early is not worth the system calls.
constexpr std::size_t freedEarlyFrom = 2U << 20U;

/// Bytes are appended in blocks that fit a core's cache: a page is still cached when it is overwritten after
/// the kernel has cleared it.
constexpr std::size_t blockSize = 256U << 10U;

/// Shorter appends cause few page faults, or none.
constexpr std::size_t populatedFrom = 16U << 10U;

bool addressSpaceIsLimited() noexcept {
    rlimit limit{};
    return ::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

std::size_t leastCapacityFor(const Bytes& content, std::size_t needed) {
    const std::size_t most = content.max_size();
    return std::max(content.capacity() > most / 2 ? most : content.capacity() * 2, needed);
}

/// Reserves a large capacity unless address space is limited; otherwise the minimum for amortized O(1)
/// appends.
void reserveFor(Bytes& grown, const Bytes& content, std::size_t needed) {
    if (needed < content.max_size() / generousGrowth && !addressSpaceIsLimited()) {
        try {
            grown.reserve(std::max(content.capacity() * generousGrowth, needed));
            return;
        } catch (const std::bad_alloc&) {
            // The reservation exceeds the system's overcommit limit.
        }
    }
    grown.reserve(leastCapacityFor(content, needed));
}

/// Precondition: the capacity is sufficient.
void appendInBlocks(Bytes& content, const std::uint8_t* bytes, std::size_t count) noexcept {
    const bool isLarge = content.capacity() >= generousFrom;
    for (const std::uint8_t* const end = bytes + count; bytes < end;) {
        const std::size_t block = std::min(static_cast<std::size_t>(end - bytes), blockSize);
        if (isLarge && block >= populatedFrom) {
            populatePages(content.data() + content.size(), block);
        }
        content.insert(content.end(), bytes, bytes + block);
        bytes += block;
    }
}

/// Appends the bytes of `old` to `target`, and frees the old pages as they are copied. Precondition: the
/// capacity is sufficient. Must not fail: after the first page is freed, `old` is not usable.
void takeOver(Bytes& target, Bytes& old) noexcept {
    const bool isFreedEarly = old.capacity() >= freedEarlyFrom;
    for (std::size_t copied = 0; copied < old.size();) {
        std::uint8_t* const bytes = old.data() + copied;
        const std::size_t block = std::min(leftInHugePage(bytes), old.size() - copied);
        appendInBlocks(target, bytes, block);
        if (isFreedEarly) {
            freePages(bytes, block);
        }
        copied += block;
    }
}

/// Ensures capacity for `added` more bytes.
void growFor(Bytes& content, std::size_t added) {
    if (added > content.max_size() - content.size()) {
        content.reserve(content.max_size() + 1); // throws std::length_error
    }
    const std::size_t needed = content.size() + added;
    if (needed <= content.capacity()) {
        return;
    }
    if (needed < generousFrom) {
        content.reserve(leastCapacityFor(content, needed));
        return;
    }
    Bytes grown;
    reserveFor(grown, content, needed);
    const std::size_t hugeOffset = needed >= hugePagesFrom ? 0 : std::min(hugePagesFrom, grown.capacity());
    adviseHugePages(grown.data() + hugeOffset, grown.capacity() - hugeOffset);
    // Nothing can fail from here on.
    takeOver(grown, content);
    content.swap(grown);
}

} // namespace

void appendBytes(Bytes& content, const std::uint8_t* bytes, std::size_t count) {
    if (count < populatedFrom && count <= content.capacity() - content.size()) { // the common case
        content.insert(content.end(), bytes, bytes + count);
        return;
    }
    growFor(content, count);
    appendInBlocks(content, bytes, count);
}

void trimSlack(Bytes& content) noexcept {
    std::uint8_t* const end = content.data() + content.size();
    freePages(end, std::min(leftInHugePage(end), content.capacity() - content.size()));
}

} // namespace storage::inmemoryprovider
