#include "tests/host/mount/MountedStorageTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>

namespace storage::tests {

namespace {

using provider::StorageIRI;

/// Permissions. The storage keeps the owner's write bit as its flag. The kernel permits some operations in
/// spite of that flag.
class MountedPermissionTest : public MountedStorageTest {};

TEST_F(MountedPermissionTest, KeepsAllBitsOfFiles) {
    Inode& file = mount_.makeFile("/f");
    for (const mode_t permissions : {0U, 0777U, 0400U, 0200U, 0600U, 04755U, 01777U, 0100U}) {
        mount_.setPermissions(file, permissions);
        EXPECT_EQ(mount_.permissionsOf(file), permissions);
        EXPECT_EQ(stored("/f").isWritable, (permissions & 0200U) != 0) << permissions;
    }
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/g")), 0100U);
}

TEST_F(MountedPermissionTest, KeepsAllBitsOfFolders) {
    Inode& folder = mount_.makeFolder("/d", 0700);
    EXPECT_EQ(mount_.permissionsOf(folder), 0700U);
    mount_.setPermissions(folder, 0555);
    EXPECT_EQ(mount_.permissionsOf(folder), 0555U);
    EXPECT_FALSE(stored("/d").isWritable);
    mount_.makeFile("/d/f");
    EXPECT_EQ(mount_.permissionsOf(folder), 0555U) << "also when the storage has stamped the folder";
    mount_.setPermissions(mount_.storage().root(), 0500);
    EXPECT_FALSE(stored("/").isWritable);
}

TEST_F(MountedPermissionTest, CreatesEntriesWithTheirPermissions) {
    EXPECT_EQ(mount_.permissionsOf(mount_.makeFile("/f", "", 0444)), 0444U);
    EXPECT_FALSE(stored("/f").isWritable);
    EXPECT_EQ(mount_.permissionsOf(mount_.makeFile("/g", "", 0640)), 0640U);
    EXPECT_TRUE(stored("/g").isWritable);
    EXPECT_EQ(mount_.permissionsOf(mount_.makeFolder("/d", 0555)), 0555U);
    EXPECT_FALSE(stored("/d").isWritable);
    EXPECT_EQ(mount_.permissionsOf(mount_.makeFolder("/e", 01777)), 01777U);
}

TEST_F(MountedPermissionTest, DerivesPermissionsOfExistingEntriesFromTheFlag) {
    for (const auto* const path : {u"/f", u"/g"}) {
        memory_->doCreateFile(StorageIRI(path));
    }
    memory_->doCreateFolder(StorageIRI(u"/d"));
    memory_->doSetWritable(StorageIRI(u"/g"), false);
    memory_->doSetWritable(StorageIRI(u"/d"), false);
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/f")), 0644U);
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/g")), 0444U);
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/d")), 0555U);
    EXPECT_EQ(mount_.permissionsOf(mount_.storage().root()), 0755U);
}

TEST_F(MountedPermissionTest, WritesAndResizesAnOpenReadOnlyFile) {
    FileInode& file = mount_.makeFile("/f", "abc");
    mount_.setPermissions(file, 0444);
    mount_.storage().settle(); // closes the stream
    mount_.write(file, 3, "def");
    EXPECT_EQ(mount_.bytesOf(file), "abcdef");
    EXPECT_FALSE(stored("/f").isWritable);
    for (const std::uint64_t size : {5U, 2U, 0U, 10U}) {
        mount_.resize(file, size);
        EXPECT_EQ(mount_.sizeOf(file), size);
        EXPECT_FALSE(stored("/f").isWritable) << size;
    }
    EXPECT_EQ(mount_.permissionsOf(file), 0444U);
    expectStorageAsSeen();
    EXPECT_FALSE(stored("/f").isWritable);
}

TEST_F(MountedPermissionTest, RemovesAndReplacesAReadOnlyFile) {
    mount_.makeFile("/f", "abc", 0444);
    mount_.removeFile("/f");
    EXPECT_FALSE(memory_->doFileExists(StorageIRI(u"/f")));
    mount_.makeFile("/target", "old", 0444);
    mount_.makeFile("/new", "new", 0600);
    mount_.rename("/new", "/target");
    EXPECT_EQ(stored("/target").bytes, "new");
    EXPECT_TRUE(stored("/target").isWritable);
    mount_.makeFile("/fixed", "fixed", 0400);
    mount_.rename("/fixed", "/target");
    EXPECT_EQ(stored("/target").bytes, "fixed");
    EXPECT_FALSE(stored("/target").isWritable);
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/target")), 0400U);
    expectStorageAsSeen();
}

TEST_F(MountedPermissionTest, RemovesAndReplacesAReadOnlyFolder) {
    mount_.makeFolder("/d", 0555);
    mount_.removeFolder("/d");
    mount_.makeFolder("/target", 0555);
    mount_.makeFolder("/new", 0755);
    mount_.rename("/new", "/target");
    EXPECT_TRUE(stored("/target").isWritable);
    mount_.makeFolder("/fixed", 0500);
    mount_.rename("/fixed", "/target");
    EXPECT_FALSE(stored("/target").isWritable);
    expectStorageAsSeen();
}

/// Root may change the folder.
TEST_F(MountedPermissionTest, KeepsTheFlagOfAChangedReadOnlyFolder) {
    FolderInode& folder = mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "abc");
    mount_.makeFile("/out", "out");
    mount_.setPermissions(folder, 0555);
    const auto expectFlag = [&] {
        EXPECT_FALSE(stored("/d").isWritable);
        EXPECT_EQ(mount_.permissionsOf(folder), 0555U);
    };
    mount_.write(mount_.file("/d/f"), 3, "def");
    expectFlag();
    mount_.makeFile("/d/g", "new");
    expectFlag();
    mount_.makeFolder("/d/s");
    expectFlag();
    mount_.rename("/d/f", "/d/h");
    expectFlag();
    mount_.rename("/out", "/d/out");
    expectFlag();
    mount_.rename("/d/out", "/d/g");
    expectFlag();
    mount_.rename("/d/s", "/s");
    expectFlag();
    mount_.rename("/s", "/d/s");
    expectFlag();
    mount_.removeFolder("/d/s");
    expectFlag();
    mount_.removeFile("/d/g");
    expectFlag();
    EXPECT_EQ(mount_.bytesOf(mount_.file("/d/h")), "abcdef");
    expectStorageAsSeen();
}

TEST_F(MountedPermissionTest, MovesReadOnlyTrees) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/s");
    mount_.makeFile("/d/s/f", "abc", 0444);
    mount_.setPermissions(mount_.at("/d/s"), 0555);
    mount_.setPermissions(mount_.at("/d"), 0555);
    mount_.rename("/d", "/e");
    EXPECT_FALSE(stored("/e").isWritable);
    EXPECT_FALSE(stored("/e/s").isWritable);
    EXPECT_FALSE(stored("/e/s/f").isWritable);
    expectStorageAsSeen();
}

TEST_F(MountedPermissionTest, KeepsTheFlagAfterAFailedRemoval) {
    mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "abc", 0444);
    mount_.setPermissions(mount_.at("/d"), 0555);
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/d"); }), ENOTEMPTY);
    provider_.before = [](const std::string& operation, const StorageIRI& iri) {
        if (operation == "removeFile") {
            throw provider::Exception(provider::ErrorCode::NotOffered, iri);
        }
    };
    EXPECT_EQ(errnoOf([&] { mount_.removeFile("/d/f"); }), EOPNOTSUPP);
    EXPECT_FALSE(stored("/d").isWritable);
    EXPECT_FALSE(stored("/d/f").isWritable);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/d/f")), "abc");
    expectStorageAsSeen();
}

} // namespace

} // namespace storage::tests
