#include "inmemoryprovider/access/ContentPages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace storage::inmemoryprovider::content_pages_test {
namespace {

/// Writes must not change errno: a host may read it after its own call that failed before.
TEST(ContentPagesTest, KeepErrnoIfTheKernelRefusesTheAdvice) {
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages = ::mmap(nullptr, 3 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    std::uint8_t* const middle = static_cast<std::uint8_t*>(pages) + size;
    ASSERT_EQ(::munmap(middle, size), 0);
    errno = EDOM;
    freePages(middle, size); // ENOMEM: no memory is mapped there
    EXPECT_EQ(errno, EDOM);
    ::munmap(pages, 3 * size);
}

} // namespace
} // namespace storage::inmemoryprovider::content_pages_test
