#include "host/mount/FreeHeap.h"
#include "tests/host/mount/FakeMemory.h"

#include <gtest/gtest.h>
#include <malloc.h>

namespace storage::tests {

namespace {

using host::readFreeHeap;

class FreeHeapTest : public testing::Test {
protected:
    static constexpr std::uint64_t mebibyte = 1U << 20U;

    std::uint64_t read() const { return readFreeHeap(fake_.sources().processes); }

    FakeMemory fake_;
};

TEST_F(FreeHeapTest, IsThePhysicalMemoryThatNoAllocationUses) {
    fake_.setHeap(::mallinfo2().uordblks + 100 * mebibyte);
    EXPECT_GT(read(), 99 * mebibyte);
    EXPECT_LT(read(), 101 * mebibyte);
}

TEST_F(FreeHeapTest, IsNothingIfTheAllocatorUsesOtherMemoryToo) {
    fake_.setHeap(0);
    EXPECT_EQ(read(), 0U);
}

TEST_F(FreeHeapTest, IsNothingIfTheKernelReportsNoHeap) {
    EXPECT_EQ(read(), 0U);
}

} // namespace

} // namespace storage::tests
