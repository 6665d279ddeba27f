#include "inmemoryprovider/access/ContentGrowth.h"
#include "tests/support/ProcessMemory.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cerrno>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

namespace storage::inmemoryprovider::content_growth_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t mebibyte = 1U << 20U;

void appendByBlocks(Bytes& content, std::size_t size) {
    const Bytes block(65'536, 'x');
    while (content.size() < size) {
        appendBytes(content, block.data(), block.size());
    }
}

/// Sets the soft limit of this process's address space during its lifetime.
class LimitedAddressSpace {
public:
    explicit LimitedAddressSpace(rlim_t bytes) {
        ::getrlimit(RLIMIT_AS, &before_);
        const rlimit limited{bytes, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_AS, &limited), 0);
    }
    LimitedAddressSpace(const LimitedAddressSpace&) = delete;
    LimitedAddressSpace& operator=(const LimitedAddressSpace&) = delete;
    ~LimitedAddressSpace() { ::setrlimit(RLIMIT_AS, &before_); }

    static bool isInForce() {
        rlimit now{};
        return ::getrlimit(RLIMIT_AS, &now) == 0 && now.rlim_cur != RLIM_INFINITY;
    }

private:
    rlimit before_{};
};

/// If the old pages were not freed early, twice the size would be in memory directly after a growth.
TEST(ContentGrowthTest, PeaksAtTheSizeOfTheContent) {
#ifdef QZSTORAGE_SANITIZED
    GTEST_SKIP() << "sanitizers keep memory of their own";
#endif
    for (const std::size_t size : {17 * mebibyte, 64 * mebibyte, 129 * mebibyte}) {
        Bytes content;
        const stress::ProcessMemory memory;
        appendByBlocks(content, size);
        const auto peak = static_cast<double>(memory.peakGrowth());
        // The slack is the huge page that is being copied, and the unused part of the last huge page.
        EXPECT_LE(peak, 1.05 * static_cast<double>(size) + 4 * mebibyte) << size;
    }
}

TEST(ContentGrowthTest, IsEightfoldForLargeContents) {
    Bytes content;
    appendByBlocks(content, 3 * mebibyte);
    EXPECT_EQ(content.capacity(), 16 * mebibyte);
}

TEST(ContentGrowthTest, IsTwofoldIfTheAddressSpaceIsLimited) {
    const LimitedAddressSpace limited(RLIM_INFINITY - 1); // above the reservation of the sanitizers
    if (!LimitedAddressSpace::isInForce()) {
        GTEST_SKIP() << "the emulator ignores the limit";
    }
    Bytes content;
    appendByBlocks(content, 17 * mebibyte);
    EXPECT_EQ(content.capacity(), 32 * mebibyte);
}

TEST(ContentGrowthTest, PreservesErrno) {
    Bytes content;
    errno = EDOM;
    appendByBlocks(content, 20 * mebibyte);
    EXPECT_EQ(errno, EDOM);
}

TEST(ContentGrowthTest, RefusesASizeAboveTheMaximum) {
    Bytes content(3, 'x');
    for (const std::size_t added : {content.max_size() - 2, std::numeric_limits<std::size_t>::max()}) {
        EXPECT_THROW(appendBytes(content, content.data(), added), std::length_error);
    }
    EXPECT_EQ(content, Bytes(3, 'x'));
}

TEST(ContentGrowthTest, FailsToAllocateTheMaximumSize) {
#ifdef QZSTORAGE_SANITIZED
    GTEST_SKIP() << "sanitizers end the program when an allocation is too large";
#endif
    Bytes content(3, 'x');
    EXPECT_THROW(appendBytes(content, content.data(), content.max_size() - 3), std::bad_alloc);
    EXPECT_EQ(content, Bytes(3, 'x'));
}

TEST(ContentGrowthTest, KeepsACapacityThatIsExactlySufficient) {
    const Bytes block(65'536, 'x');
    Bytes content;
    content.reserve(2 * block.size());
    appendByBlocks(content, 2 * block.size());
    EXPECT_EQ(content.size(), 2 * block.size());
    EXPECT_EQ(content.capacity(), 2 * block.size());
}

TEST(ContentGrowthTest, TrimsNothingBeyondTheCapacity) {
    constexpr std::size_t capacity = 64U << 10U;
    constexpr std::size_t size = 60U << 10U;
    std::vector<Bytes> contents(32); // most of them next to each other in memory
    for (auto& content : contents) {
        content.assign(capacity, 'x');
        content.resize(size);
    }
    for (auto& content : contents) {
        trimSlack(content);
    }
    for (const auto& content : contents) {
        EXPECT_EQ(content, Bytes(size, 'x'));
    }
}

} // namespace
} // namespace storage::inmemoryprovider::content_growth_test
