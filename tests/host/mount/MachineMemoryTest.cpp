#include "host/mount/MachineMemory.h"
#include "tests/host/mount/FakeMemory.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::MachineMemory;

constexpr std::uint64_t mebibyte = 1U << 20U;
constexpr std::uint64_t gibibyte = 1U << 30U;

class MachineMemoryTest : public testing::Test {
protected:
    FakeMemory fake_;
};

TEST_F(MachineMemoryTest, IsTheMachinesWithoutALimit) {
    fake_.makeUnifiedGroup("", "max", 4 * gibibyte);
    const MachineMemory memory = fake_.read();
    EXPECT_EQ(memory.info.capacity, 16 * gibibyte);
    EXPECT_EQ(memory.info.available, 12 * gibibyte);
    EXPECT_EQ(memory.limitedBy, "the memory of the machine");
    EXPECT_FALSE(memory.isOfGroup);
    EXPECT_FALSE(memory.isShared);
}

TEST_F(MachineMemoryTest, IgnoresALimitAboveTheMachinesMemory) {
    fake_.join("9:memory:/\n");
    fake_.makeGroup("", 0x7FFFFFFFFFFFF000, 4 * gibibyte);
    EXPECT_EQ(fake_.read().info.capacity, 16 * gibibyte);
    EXPECT_FALSE(fake_.read().isOfGroup);
}

TEST_F(MachineMemoryTest, IsWhatTheProcessesGroupAllows) {
    fake_.join("3:cpu:/\n9:memory:/a\n0::/\n");
    fake_.makeGroup("a", 300 * mebibyte, 100 * mebibyte);
    const MachineMemory memory = fake_.read();
    EXPECT_EQ(memory.info.capacity, 300 * mebibyte);
    EXPECT_EQ(memory.info.available, 200 * mebibyte);
    EXPECT_EQ(memory.limitedBy,
              "the memory limit of the control group " + fake_.sources().groups + "/memory/a");
    EXPECT_TRUE(memory.isOfGroup);
    EXPECT_FALSE(memory.isShared);
}

TEST_F(MachineMemoryTest, IsWhatAParentGroupAllows) {
    fake_.join("9:memory:/a/b/c\n");
    fake_.makeGroup("a/b/c", 8 * gibibyte, 10 * mebibyte);
    fake_.makeGroup("a/b", 500 * mebibyte, 400 * mebibyte);
    const MachineMemory memory = fake_.read();
    EXPECT_EQ(memory.info.capacity, 500 * mebibyte);
    EXPECT_EQ(memory.info.available, 100 * mebibyte);
    EXPECT_TRUE(memory.isShared) << "others may be below the outer group";
}

TEST_F(MachineMemoryTest, IsWhatAUnifiedParentGroupAllows) {
    fake_.join("0::/a/b\n");
    fake_.makeUnifiedGroup("a/b", "max", 10 * mebibyte);
    fake_.makeUnifiedGroup("a", "524288000", 400 * mebibyte);
    EXPECT_EQ(fake_.read().info.capacity, 500 * mebibyte);
    EXPECT_EQ(fake_.read().info.available, 100 * mebibyte);
}

/// The path is relative to the machine's root, but the container sees only its own group.
TEST_F(MachineMemoryTest, IsWhatTheContainerAllows) {
    fake_.join("9:memory:/containers/1234\n");
    fake_.makeGroup("", 300 * mebibyte, 100 * mebibyte);
    EXPECT_EQ(fake_.read().info.capacity, 300 * mebibyte);
    EXPECT_EQ(fake_.read().info.available, 200 * mebibyte);
}

TEST_F(MachineMemoryTest, CountsCleanPagesAsAvailable) {
    fake_.join("9:memory:/a\n");
    fake_.makeGroup("a", 300 * mebibyte, 200 * mebibyte,
                    "cache 1\ndirty 1\nwriteback 1\ntotal_cache 83886080\ntotal_dirty 10485760\n"
                    "total_writeback 20971520\ntotal_mapped_file 5242880\n");
    EXPECT_EQ(fake_.read().info.available, (100 + 80 - 10 - 20 - 5) * mebibyte);
}

TEST_F(MachineMemoryTest, CountsCleanPagesOfAUnifiedGroupAsAvailable) {
    fake_.join("0::/a\n");
    fake_.makeUnifiedGroup("a", "314572800", 200 * mebibyte,
                           "file 83886080\nfile_dirty 10485760\nfile_writeback 20971520\n"
                           "file_mapped 5242880\nslab_reclaimable 1048576\n");
    EXPECT_EQ(fake_.read().info.available, (100 + 80 - 10 - 20 - 5 + 1) * mebibyte);
    EXPECT_EQ(fake_.read().slab, mebibyte);
}

TEST_F(MachineMemoryTest, RecognizesASharedGroup) {
    fake_.join("9:memory:/a\n");
    fake_.makeGroup("a", 300 * mebibyte, 200 * mebibyte);
    fake_.setProcesses("memory/a", "1\n0\n");
    EXPECT_TRUE(fake_.read().isShared);
}

} // namespace

} // namespace storage::tests
