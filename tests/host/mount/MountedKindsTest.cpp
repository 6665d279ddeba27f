#include "host/mount/SpecialInodes.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/FailingStep.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <new>
#include <sys/sysmacros.h>

namespace storage::tests {

namespace {

using provider::StorageIRI;

/// Symbolic links, fifos, sockets and devices, which the storage does not support.
class MountedKindsTest : public MountedStorageTest {
protected:
    struct stat statusOf(const std::string& path) {
        return mount_.storage().status(mount_.at(path));
    }

    std::string targetOf(const std::string& path) { return MountedStorage::readLink(mount_.at(path)); }

    std::size_t entriesInStorage() const { return takeSnapshot(*memory_).size() - 1; }
};

TEST_F(MountedKindsTest, KeepsTheTargetOfASymbolicLink) {
    mount_.makeSymbolicLink("/link", "../some where/ä");
    EXPECT_EQ(targetOf("/link"), "../some where/ä");
    const struct stat status = statusOf("/link");
    EXPECT_EQ(status.st_mode, S_IFLNK | 0777U);
    EXPECT_EQ(status.st_size, 16);
    EXPECT_EQ(status.st_blocks, 0);
    EXPECT_EQ(status.st_nlink, 1U);
    EXPECT_EQ(entriesInStorage(), 0U);
}

TEST_F(MountedKindsTest, AcceptsAnyBytesAsATarget) {
    const std::string longest(PATH_MAX - 1, '\xE9');
    mount_.makeSymbolicLink("/link", longest);
    EXPECT_EQ(targetOf("/link"), longest);
    EXPECT_EQ(errnoOf([&] { mount_.makeSymbolicLink("/other", longest + "x"); }), ENAMETOOLONG);
    EXPECT_EQ(mount_.find("/other"), nullptr);
}

TEST_F(MountedKindsTest, RefusesTheTargetOfOtherKinds) {
    mount_.makeFile("/f");
    mount_.makeNode("/fifo", S_IFIFO | 0600U);
    EXPECT_EQ(errnoOf([&] { targetOf("/f"); }), EINVAL);
    EXPECT_EQ(errnoOf([&] { targetOf("/fifo"); }), EINVAL);
}

TEST_F(MountedKindsTest, KeepsTypePermissionsAndDeviceOfNodes) {
    const dev_t device = ::makedev(300, 70'000);
    for (const mode_t type : {mode_t{S_IFIFO}, mode_t{S_IFSOCK}, mode_t{S_IFCHR}, mode_t{S_IFBLK}}) {
        mount_.makeNode("/node", type | 04640U, device);
        const struct stat status = statusOf("/node");
        EXPECT_EQ(status.st_mode, type | 04640U);
        EXPECT_EQ(status.st_rdev, type == S_IFCHR || type == S_IFBLK ? device : 0);
        EXPECT_EQ(status.st_size, 0);
        mount_.removeFile("/node");
    }
    EXPECT_EQ(errnoOf([&] { mount_.makeNode("/node", S_IFDIR | 0600U); }), EINVAL);
    EXPECT_EQ(mount_.find("/node"), nullptr);
}

TEST_F(MountedKindsTest, ListsTheType) {
    mount_.makeSymbolicLink("/link", "x");
    mount_.makeNode("/fifo", S_IFIFO | 0600U);
    std::map<std::string, mode_t> types;
    mount_.storage().list(mount_.storage().root(), 2, MountedStorage::ListingDetail::Names,
                          [&](const std::string& name, const auto& entry, auto) {
                              types[name] = entry.status.st_mode;
                              return true;
                          });
    EXPECT_EQ(types, (std::map<std::string, mode_t>{{"fifo", S_IFIFO}, {"link", S_IFLNK}}));
}

TEST_F(MountedKindsTest, RefusesANameThatIsTaken) {
    mount_.makeSymbolicLink("/link", "x");
    mount_.makeFile("/f");
    EXPECT_EQ(errnoOf([&] { mount_.makeFile("/link"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.makeFolder("/link"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.makeSymbolicLink("/link", "y"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.makeSymbolicLink("/f", "y"); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.makeNode("/f", S_IFIFO); }), EEXIST);
    EXPECT_EQ(targetOf("/link"), "x");
}

TEST_F(MountedKindsTest, ChangesAttributesAsOfFiles) {
    mount_.makeNode("/fifo", S_IFIFO | 0600U);
    mount_.setPermissions(mount_.at("/fifo"), 0444);
    mount_.setModified(mount_.at("/fifo"), pastTime);
    EXPECT_EQ(mount_.permissionsOf(mount_.at("/fifo")), 0444U);
    EXPECT_EQ(mount_.modifiedOf(mount_.at("/fifo")), pastTime);
    EXPECT_EQ(errnoOf([&] {
                  host::AttributeChange change;
                  change.size = 1;
                  mount_.storage().change(mount_.at("/fifo"), change);
              }),
              EINVAL);
    mount_.removeFile("/fifo");
    EXPECT_EQ(entriesInStorage(), 0U);
}

TEST_F(MountedKindsTest, StampsTheFolder) {
    mount_.makeFolder("/d");
    const auto stampedBy = [&](const auto& change) {
        mount_.setModified(mount_.at("/d"), pastTime);
        change();
        return !(mount_.modifiedOf(mount_.at("/d")) == pastTime);
    };
    EXPECT_TRUE(stampedBy([&] { mount_.makeSymbolicLink("/d/a", "x"); }));
    EXPECT_TRUE(stampedBy([&] { mount_.rename("/d/a", "/d/b"); }));
    EXPECT_TRUE(stampedBy([&] { mount_.removeFile("/d/b"); }));
    expectStorageAsSeen();
}

TEST_F(MountedKindsTest, RefusesToRemoveAFolderWithALink) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/other");
    mount_.makeSymbolicLink("/d/link", "x");
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/d"); }), ENOTEMPTY);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/other", "/d"); }), ENOTEMPTY);
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/d/link"); }), ENOTDIR);
    EXPECT_EQ(targetOf("/d/link"), "x");
    mount_.removeFile("/d/link");
    mount_.removeFolder("/d");
    expectStorageAsSeen();
}

TEST_F(MountedKindsTest, MovesWithTheFolder) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/s");
    mount_.makeSymbolicLink("/d/s/link", "x");
    Inode& link = mount_.at("/d/s/link");
    mount_.rename("/d", "/e");
    EXPECT_EQ(&mount_.at("/e/s/link"), &link);
    mount_.rename("/e/s", "/s");
    EXPECT_EQ(&mount_.at("/s/link"), &link);
    expectStorageAsSeen();
}

TEST_F(MountedKindsTest, ReplacesAnyKindButAFolder) {
    const std::vector<std::function<void(const std::string&)>> makers{
        [&](const std::string& path) { mount_.makeFile(path, "content"); },
        [&](const std::string& path) { mount_.makeSymbolicLink(path, "x"); },
        [&](const std::string& path) { mount_.makeNode(path, S_IFSOCK | 0400U); },
    };
    for (const auto& makeSource : makers) {
        for (const auto& makeTarget : makers) {
            makeSource("/source");
            makeTarget("/target");
            Inode& source = mount_.at("/source");
            mount_.rename("/source", "/target");
            EXPECT_EQ(mount_.find("/source"), nullptr);
            EXPECT_EQ(&mount_.at("/target"), &source);
            expectStorageAsSeen();
            mount_.removeFile("/target");
            EXPECT_EQ(entriesInStorage(), 0U);
        }
    }
}

TEST_F(MountedKindsTest, RefusesToReplaceFolders) {
    mount_.makeFolder("/d");
    mount_.makeSymbolicLink("/link", "x");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/link", "/d"); }), EISDIR);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/link"); }), ENOTDIR);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/link", "/link", RENAME_NOREPLACE); }), EEXIST);
    EXPECT_EQ(targetOf("/link"), "x");
}

TEST_F(MountedKindsTest, KeepsARemovedInodeWhileReferenced) {
    auto& root = mount_.storage().root();
    Inode& link = *mount_.storage().makeSymbolicLink(root, "link", "x", host::Owner::ofProcess()).inode;
    mount_.removeFile("/link");
    EXPECT_EQ(MountedStorage::readLink(link), "x");
    EXPECT_EQ(mount_.storage().status(link).st_nlink, 0U);
    mount_.setPermissions(link, 0);
    mount_.storage().release(link, 1);
    EXPECT_EQ(mount_.find("/link"), nullptr);
}

TEST_F(MountedKindsTest, KeepsAReplacedFileUsable) {
    mount_.makeFile("/f", "content");
    FileInode& file = mount_.open("/f");
    mount_.makeSymbolicLink("/link", "x");
    mount_.rename("/link", "/f");
    EXPECT_EQ(mount_.bytesOf(file), "content");
    mount_.write(file, 0, "C");
    EXPECT_EQ(mount_.bytesOf(file), "Content");
    EXPECT_EQ(targetOf("/f"), "x");
    mount_.close(file);
    EXPECT_EQ(entriesInStorage(), 0U);
}

TEST_F(MountedKindsTest, CreatesAndRemovesInAReadOnlyFolder) {
    mount_.makeFolder("/d");
    mount_.setPermissions(mount_.at("/d"), 0555); // the kernel permits changes by root only
    mount_.makeSymbolicLink("/d/link", "x");
    mount_.rename("/d/link", "/d/renamed");
    EXPECT_EQ(targetOf("/d/renamed"), "x");
    mount_.removeFile("/d/renamed");
    EXPECT_FALSE(stored("/d").isWritable);
    expectStorageAsSeen();
}

TEST_F(MountedKindsTest, ChangesNothingWhenTheStorageFails) {
    memory_->doCreateFolder(StorageIRI(u"/d"));
    const auto failsAt = [&](int number) {
        MountedTree mount(provider_);
        int error = 0;
        {
            const FailingStep step(provider_, number, [] { throw std::bad_alloc(); });
            error = errnoOf([&] { mount.makeSymbolicLink("/d/link", "x"); });
            if (!step.happened()) {
                return false;
            }
        }
        EXPECT_EQ(mount.find("/d/link") == nullptr, error != 0);
        return true;
    };
    int failures = 0;
    while (failsAt(failures + 1)) {
        ++failures;
    }
    EXPECT_GT(failures, 0);
}

} // namespace

} // namespace storage::tests
