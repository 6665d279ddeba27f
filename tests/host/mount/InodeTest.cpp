#include "host/mount/InodeTree.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::FileInode;
using host::FolderInode;
using host::Inode;

/// A mount may have millions of inodes.
TEST(InodeTest, TakesLittleMemory) {
    EXPECT_LE(sizeof(Inode), 144U);
    EXPECT_LE(sizeof(FileInode), 168U);
    EXPECT_LE(sizeof(FolderInode), 216U);
}

} // namespace

} // namespace storage::tests
