#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/MountedStorageTest.h"
#include "tests/support/ForwardingStream.h"

#include <cerrno>
#include <new>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using testing::IsEmpty;

/// Removed entries, and their use after the removal.
class MountedRemovalTest : public MountedStorageTest {
protected:
    /// Uses a removed file in every way that is possible for a program that had opened it.
    void expectUsable(FileInode& file, const std::string& bytes) {
        EXPECT_EQ(mount_.bytesOf(file), bytes);
        mount_.write(file, bytes.size(), "+");
        mount_.write(file, bytes.size() + 3, "-");
        EXPECT_EQ(mount_.bytesOf(file), bytes + std::string("+\0\0-", 4));
        mount_.resize(file, 2);
        mount_.resize(file, 5);
        EXPECT_EQ(mount_.bytesOf(file), bytes.substr(0, 2) + std::string(3, '\0'));
        mount_.resize(file, 0);
        mount_.storage().allocate(file, 0, 0, 3);
        EXPECT_EQ(mount_.bytesOf(file), std::string(3, '\0'));
        mount_.setPermissions(file, 0400);
        mount_.setModified(file, pastTime);
        const struct stat status = mount_.storage().status(file);
        EXPECT_EQ(status.st_nlink, 0U);
        EXPECT_EQ(status.st_size, 3);
        EXPECT_EQ(status.st_mode, S_IFREG | 0400U);
        EXPECT_EQ(status.st_mtim, pastTime);
    }

    void expectEmptyStorage() { EXPECT_EQ(takeSnapshot(*memory_).size(), 1U); }
};

/// A storage that counts the streams open for writing.
class StreamCounter final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<CountedStream>(HookedProvider::doOpenStream(iri, options), openStreams);
    }

    mutable int openStreams = 0;

private:
    class CountedStream final : public ForwardingStream {
    public:
        CountedStream(std::unique_ptr<ByteStream> inner, int& count)
            : ForwardingStream(std::move(inner)), count_(count) {
            ++count_;
        }
        CountedStream(const CountedStream&) = delete;
        CountedStream& operator=(const CountedStream&) = delete;
        ~CountedStream() override { --count_; }

    private:
        int& count_;
    };
};

TEST_F(MountedRemovalTest, RemovesAFile) {
    mount_.makeFile("/f", "abc");
    mount_.removeFile("/f");
    EXPECT_EQ(mount_.find("/f"), nullptr);
    EXPECT_EQ(errnoOf([&] { mount_.removeFile("/f"); }), ENOENT);
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, DistinguishesFilesFromFolders) {
    mount_.makeFile("/f");
    mount_.makeFolder("/d");
    EXPECT_EQ(errnoOf([&] { mount_.removeFile("/d"); }), EISDIR);
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/f"); }), ENOTDIR);
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/x"); }), ENOENT);
    mount_.makeFile("/d/g");
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/d"); }), ENOTEMPTY);
    mount_.removeFile("/d/g");
    mount_.removeFolder("/d");
    mount_.removeFile("/f");
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, KeepsARemovedFileUsableWhileOpen) {
    mount_.makeFile("/f", "content");
    FileInode& file = mount_.open("/f");
    mount_.removeFile("/f");
    EXPECT_EQ(mount_.find("/f"), nullptr);
    expectEmptyStorage();
    expectUsable(file, "content");
    expectEmptyStorage();
    mount_.close(file);
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, KeepsARemovedFileUsableWithoutEarlierAccess) {
    memory_->doOpenStream(StorageIRI(u"/f"), {})->write("content", 7);
    FileInode& file = mount_.open("/f");
    mount_.removeFile("/f");
    expectUsable(file, "content");
    mount_.close(file);
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, KeepsARemovedReadOnlyFileUsable) {
    mount_.makeFile("/f", "content", 0444);
    FileInode& file = mount_.open("/f");
    mount_.removeFile("/f");
    expectUsable(file, "content");
    mount_.close(file);
}

TEST_F(MountedRemovalTest, KeepsAReplacedFileUsable) {
    mount_.makeFile("/f", "old");
    mount_.makeFile("/g", "new");
    FileInode& old = mount_.open("/f");
    mount_.rename("/g", "/f");
    EXPECT_NE(&mount_.at("/f"), &old);
    expectUsable(old, "old");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "new");
    mount_.close(old);
    expectStorageAsSeen();
}

TEST_F(MountedRemovalTest, KeepsTheInodeOfARenamedFile) {
    mount_.makeFile("/f", "abc");
    mount_.makeFolder("/d");
    FileInode& file = mount_.open("/f");
    mount_.rename("/f", "/d/g");
    mount_.write(file, 3, "def");
    mount_.resize(file, 5);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/d/g")), "abcde");
    EXPECT_EQ(mount_.storage().status(file).st_nlink, 1U);
    mount_.close(file);
    expectStorageAsSeen();
}

TEST_F(MountedRemovalTest, RemovesTheFolderOfAnOpenRemovedFile) {
    mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "content");
    FileInode& file = mount_.open("/d/f");
    mount_.removeFile("/d/f");
    mount_.removeFolder("/d");
    expectEmptyStorage();
    expectUsable(file, "content");
    mount_.close(file);
}

TEST_F(MountedRemovalTest, FreesTheNameOfARemovedFile) {
    mount_.makeFile("/f", "old");
    FileInode& old = mount_.open("/f");
    mount_.removeFile("/f");
    mount_.makeFile("/f", "new");
    expectUsable(old, "old");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "new");
    mount_.removeFile("/f");
    mount_.close(old);
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, KeepsTheContentsOfManyRemovedFiles) {
    std::vector<FileInode*> files;
    for (int i = 0; i < 600; ++i) {
        const std::string path = "/" + std::to_string(i);
        mount_.makeFile(path, path);
        files.push_back(&mount_.open(path));
        mount_.removeFile(path);
    }
    mount_.storage().settle();
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(mount_.bytesOf(*files[i]), "/" + std::to_string(i));
        mount_.close(*files[i]);
    }
    expectEmptyStorage();
}

TEST_F(MountedRemovalTest, FreesTheBytesWithTheLastReference) {
    StreamCounter provider(memory_);
    MountedTree mount(provider);
    mount.makeFile("/f", "abc");
    FileInode& file = mount.open("/f");
    mount.open("/f");
    mount.removeFile("/f");
    mount.close(file);
    EXPECT_EQ(mount.bytesOf(file), "abc") << "one reference is left";
    EXPECT_EQ(provider.openStreams, 1);
    mount.close(file);
    EXPECT_EQ(provider.openStreams, 0);
}

TEST_F(MountedRemovalTest, FreesTheBytesOfAnUnreferencedFileAtOnce) {
    StreamCounter provider(memory_);
    MountedTree mount(provider);
    mount.makeFile("/f", "abc");
    mount.removeFile("/f");
    EXPECT_EQ(provider.openStreams, 0);
    mount.makeFile("/f", "abc");
    mount.makeFile("/g", "abc");
    mount.rename("/g", "/f");
    mount.storage().settle();
    EXPECT_EQ(provider.openStreams, 0);
}

TEST_F(MountedRemovalTest, RemovesAFileAlsoIfItsBytesCannotBeKept) {
    memory_->doOpenStream(StorageIRI(u"/f"), {})->write("content", 7);
    FileInode& file = mount_.open("/f");
    provider_.before = [](const std::string& operation, const auto&) {
        if (operation == "openStream") {
            throw std::bad_alloc();
        }
    };
    mount_.removeFile("/f");
    expectEmptyStorage();
    EXPECT_EQ(errnoOf([&] { mount_.bytesOf(file); }), EIO);
    EXPECT_EQ(errnoOf([&] { mount_.write(file, 0, "x"); }), EIO);
    mount_.close(file);
}

TEST_F(MountedRemovalTest, RefusesToCreateInARemovedFolder) {
    const auto self = host::Owner::ofProcess();
    const auto made = mount_.storage().makeFolder(mount_.storage().root(), "d", 0755, self);
    auto& folder = static_cast<FolderInode&>(*made.inode);
    mount_.makeFile("/f", "abc");
    mount_.removeFolder("/d");
    EXPECT_EQ(mount_.storage().lookUp(folder, "x").inode, nullptr);
    EXPECT_EQ(errnoOf([&] { mount_.storage().makeFile(folder, "x", 0644, self); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.storage().makeFolder(folder, "x", 0755, self); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.storage().rename(mount_.storage().root(), "f", folder, "x", {}); }),
              ENOENT);
    EXPECT_THAT(mount_.namesIn(folder), IsEmpty());
    EXPECT_EQ(mount_.storage().status(folder).st_nlink, 0U);
    mount_.setModified(folder, pastTime);
    mount_.setPermissions(folder, 0500);
    EXPECT_EQ(mount_.permissionsOf(folder), 0500U);
    EXPECT_EQ(mount_.modifiedOf(folder), pastTime);
    mount_.storage().release(folder, 1);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "abc");
    expectStorageAsSeen();
}

} // namespace

} // namespace storage::tests
