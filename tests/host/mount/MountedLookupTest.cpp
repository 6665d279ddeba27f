#include "tests/host/mount/MountedStorageTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>
#include <map>
#include <string>
#include <vector>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using testing::IsEmpty;

/// Attributes of entries, and the number of storage calls that a lookup requires.
class MountedLookupTest : public MountedStorageTest {
protected:
    /// Returns how many calls the storage gets during the operation.
    template <typename Operation>
    int providerCallsIn(const Operation& operation) {
        int count = 0;
        provider_.before = [&](const char*, const auto&) { ++count; };
        operation();
        provider_.before = [](const char*, const auto&) {};
        return count;
    }
};

TEST_F(MountedLookupTest, FindsExistingEntries) {
    memory_->doCreateFolder(StorageIRI(u"/d"));
    memory_->doOpenStream(StorageIRI(u"/d/f"), {})->write("abc", 3);
    const auto folder = mount_.storage().lookUp(mount_.storage().root(), "d");
    ASSERT_NE(folder.inode, nullptr);
    EXPECT_TRUE(folder.inode->isFolder());
    EXPECT_EQ(folder.status.st_mode, S_IFDIR | 0755U);
    const auto file = mount_.storage().lookUp(static_cast<FolderInode&>(*folder.inode), "f");
    ASSERT_NE(file.inode, nullptr);
    EXPECT_EQ(file.status.st_mode, S_IFREG | 0644U);
    EXPECT_EQ(file.status.st_size, 3);
    EXPECT_EQ(file.status.st_blocks, 8) << "whole pages, as in tmpfs";
    EXPECT_EQ(file.status.st_nlink, 1U);
    EXPECT_EQ(file.status.st_uid, ::geteuid());
    EXPECT_EQ(file.status.st_gid, ::getegid());
    EXPECT_EQ(file.inode->references, 1U);
}

TEST_F(MountedLookupTest, VisitsReferencedFilesOnce) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/below");
    std::vector<FileInode*> opened;
    for (const std::string folder : {"/", "/d/", "/d/below/"}) {
        for (int i = 0; i < 1000; ++i) {
            const std::string path = folder + std::to_string(i);
            mount_.makeFile(path);
            if (i % 2 == 0) {
                opened.push_back(&mount_.open(path));
            }
        }
        mount_.makeSymbolicLink(folder + "symbolic", "0");
        mount_.link("/0", folder + "hard");
    }
    std::vector<const FileInode*> visited;
    mount_.storage().visitReferencedFiles([&](const FileInode* file) { visited.push_back(file); });
    EXPECT_THAT(visited, testing::UnorderedElementsAreArray(opened));
    for (FileInode* const file : opened) {
        mount_.close(*file);
    }
    mount_.storage().visitReferencedFiles([](const FileInode*) { ADD_FAILURE() << "no file is referenced"; });
}

TEST_F(MountedLookupTest, ReturnsNullForMissingEntries) {
    EXPECT_EQ(mount_.storage().lookUp(mount_.storage().root(), "x").inode, nullptr);
}

TEST_F(MountedLookupTest, AcceptsNamesOfUpTo255Bytes) {
    FolderInode& root = mount_.storage().root();
    EXPECT_EQ(errnoOf([&] { mount_.storage().lookUp(root, std::string(256, 'x')); }), ENAMETOOLONG);
    EXPECT_EQ(errnoOf([&] { mount_.makeFolder("/" + std::string(256, 'x')); }), ENAMETOOLONG);
    mount_.makeFile("/café 😀");
    EXPECT_TRUE(memory_->doFileExists(StorageIRI(u"/café 😀")));
    mount_.rename("/café 😀", "/caf\xE9");
    EXPECT_TRUE(memory_->doFileExists(StorageIRI(u"/caf\xDCE9")));
    EXPECT_NE(mount_.storage().lookUp(root, "caf\xE9").inode, nullptr);
    mount_.storage().removeFile(root, "caf\xE9");
    EXPECT_FALSE(memory_->doFileExists(StorageIRI(u"/caf\xDCE9")));
    mount_.makeFolder("/\xFF");
    EXPECT_TRUE(memory_->doFolderExists(StorageIRI(u"/\xDCFF")));
    mount_.storage().removeFolder(root, "\xFF");
}

TEST_F(MountedLookupTest, CallsTheStorageOncePerEntry) {
    memory_->doCreateFile(StorageIRI(u"/f"));
    memory_->doCreateFolder(StorageIRI(u"/d"));
    mount_.at("/f");
    mount_.at("/d");
    EXPECT_EQ(providerCallsIn([&] {
                  mount_.at("/f");
                  mount_.at("/d");
                  mount_.sizeOf(mount_.at("/f"));
              }),
              0);
}

TEST_F(MountedLookupTest, DoesNotCallTheStorageAfterAListing) {
    memory_->doCreateFile(StorageIRI(u"/f"));
    mount_.namesIn(mount_.storage().root());
    EXPECT_EQ(providerCallsIn([&] {
                  mount_.find("/missing");
                  mount_.namesIn(mount_.storage().root());
              }),
              0);
    mount_.at("/f");
    EXPECT_EQ(providerCallsIn([&] { mount_.at("/f"); }), 0);
}

TEST_F(MountedLookupTest, DoesNotCallTheStorageForANewFolder) {
    mount_.makeFolder("/d");
    EXPECT_EQ(providerCallsIn([&] {
                  EXPECT_EQ(mount_.find("/d/x"), nullptr);
                  EXPECT_THAT(mount_.namesIn(mount_.folder("/d")), IsEmpty());
              }),
              0);
}

TEST_F(MountedLookupTest, OpensAFileOnceForReadingAndWriting) {
    FileInode& file = mount_.makeFile("/f", "abc");
    mount_.bytesOf(file);
    std::map<std::string, int> opened;
    provider_.before = [&](const std::string& operation, const auto&) { ++opened[operation]; };
    for (int i = 0; i < 10; ++i) {
        mount_.write(file, 3 + static_cast<std::uint64_t>(i), "x");
        mount_.bytesOf(file);
    }
    EXPECT_EQ(opened.count("openStream") + opened.count("openReadOnlyStream"), 0U);
    EXPECT_EQ(mount_.bytesOf(file), "abcxxxxxxxxxx");
}

TEST_F(MountedLookupTest, KeepsTheInodeNumberOfAnEntry) {
    mount_.makeFile("/f");
    mount_.makeFolder("/d");
    const auto numberOf = [&](const std::string& path) {
        return mount_.storage().status(mount_.at(path)).st_ino;
    };
    const ino_t number = numberOf("/f");
    EXPECT_NE(numberOf("/d"), number);
    EXPECT_NE(numberOf("/"), number);
    mount_.close(mount_.open("/f")); // the last reference
    EXPECT_EQ(numberOf("/f"), number);
    mount_.rename("/f", "/d/g");
    EXPECT_EQ(numberOf("/d/g"), number);
    mount_.rename("/d", "/e");
    EXPECT_EQ(numberOf("/e/g"), number);
    mount_.removeFile("/e/g");
    mount_.makeFile("/e/g");
    EXPECT_NE(numberOf("/e/g"), number);
}

TEST_F(MountedLookupTest, GivesEachEntryItsOwnInodeNumber) {
    std::map<ino_t, std::string> numbers;
    for (int i = 0; i < 1000; ++i) {
        const std::string path = "/" + std::to_string(i);
        mount_.makeFile(path, path);
        EXPECT_TRUE(numbers.emplace(mount_.storage().status(mount_.at(path)).st_ino, path).second);
    }
    for (const auto& [number, path] : numbers) {
        EXPECT_EQ(mount_.bytesOf(mount_.file(path)), path);
    }
    expectStorageAsSeen();
}

TEST_F(MountedLookupTest, ReachesTheBottomOfADeepTree) {
    std::string path;
    for (int i = 0; i < 500; ++i) {
        path += "/d";
        mount_.makeFolder(path);
    }
    mount_.makeFile(path + "/f", "deep");
    EXPECT_EQ(mount_.bytesOf(mount_.file(path + "/f")), "deep");
}

} // namespace

} // namespace storage::tests
