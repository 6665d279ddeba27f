#include "host/mount/UnkeptCounts.h"

#include "tests/host/mount/MountedStorageTest.h"

namespace storage::tests {

namespace {

using host::AttributeChange;
using host::Owner;
using host::UnkeptCounts;

TEST(UnkeptCountsTest, ListsNonzeroCounts) {
    EXPECT_EQ(UnkeptCounts{}.summary(), "");
    EXPECT_EQ((UnkeptCounts{1, 0, 0, 0}).summary(), "1 link was not kept by the storage");
    EXPECT_EQ((UnkeptCounts{2, 0, 14, 0}).summary(), "2 links and 14 modes were not kept by the storage");
    EXPECT_EQ((UnkeptCounts{1, 2, 3, 4}).summary(),
              "1 link, 2 special files, 3 modes and 4 owners were not kept by the storage");
}

class UnkeptTest : public MountedStorageTest {
protected:
    MountedStorage storage_{provider_};
    const Owner self_ = Owner::ofProcess();
};

TEST_F(UnkeptTest, CountsWhatTheStorageLacks) {
    FolderInode& root = storage_.root();
    Inode& usual = *storage_.makeFile(root, "usual", 0644, self_).inode;
    storage_.makeFolder(root, "folder", 0755, self_);
    EXPECT_EQ(storage_.unkept().summary(), "");
    AttributeChange readOnly;
    readOnly.permissions = 0444;
    storage_.change(usual, readOnly);
    EXPECT_EQ(storage_.unkept().summary(), "") << "that is the writable flag";
    storage_.makeFile(root, "mode", 0600, self_);
    storage_.makeFile(root, "owner", 0644, {self_.user + 1, self_.group});
    storage_.makeSymbolicLink(root, "link", "target", self_);
    storage_.link(usual, root, "second");
    storage_.makeNode(root, "fifo", S_IFIFO | 0600, 0, self_);
    storage_.setExtended(usual, "user.note", "text", 0);
    const UnkeptCounts counts = storage_.unkept();
    EXPECT_EQ(counts.xattrs, 1U);
    EXPECT_EQ(counts.links, 2U);
    EXPECT_EQ(counts.specialFiles, 1U);
    EXPECT_EQ(counts.modes, 1U);
    EXPECT_EQ(counts.owners, 1U);
    storage_.removeFile(root, "mode");
    EXPECT_EQ(storage_.unkept().modes, 0U);
}

} // namespace

} // namespace storage::tests
