#include "tests/host/mount/FailingStep.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <cerrno>
#include <new>

namespace storage::tests {

namespace {

/// Files that are created without a name.
class MountedNamelessTest : public MountedStorageTest {
protected:
    std::size_t entriesInStorage() const { return takeSnapshot(*memory_).size() - 1; }

    Inode& nameIt(Inode& file, const std::string& folder, const std::string& name) {
        const auto linked = mount_.storage().link(file, mount_.folder(folder), name);
        mount_.storage().release(*linked.inode, 1);
        return *linked.inode;
    }
};

TEST_F(MountedNamelessTest, CreatesAFileInNoFolder) {
    mount_.setModified(mount_.at("/"), pastTime);
    FileInode& file = mount_.makeNameless("content");
    EXPECT_EQ(mount_.bytesOf(file), "content");
    const struct stat status = mount_.storage().status(file);
    EXPECT_EQ(status.st_nlink, 0U);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
    EXPECT_EQ(status.st_size, 7);
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), testing::IsEmpty());
    EXPECT_EQ(mount_.modifiedOf(mount_.at("/")), pastTime);
    mount_.resize(file, 3);
    mount_.setPermissions(file, 0400);
    mount_.write(file, 3, "more");
    EXPECT_EQ(mount_.bytesOf(file), "conmore");
    mount_.close(file);
    EXPECT_EQ(entriesInStorage(), 0U);
    expectStorageAsSeen();
}

TEST_F(MountedNamelessTest, LinksANamelessFile) {
    for (const std::string folder : {"/", "/d"}) {
        if (folder == "/d") {
            mount_.makeFolder("/d");
        }
        FileInode& file = mount_.makeNameless("content");
        EXPECT_EQ(&nameIt(file, folder, "named"), &file);
        const std::string path = folder == "/" ? "/named" : "/d/named";
        EXPECT_EQ(&mount_.at(path), &file);
        EXPECT_EQ(mount_.storage().status(file).st_nlink, 1U);
        nameIt(file, folder, "second");
        EXPECT_EQ(mount_.storage().status(file).st_nlink, 2U);
        mount_.close(file);
        EXPECT_EQ(mount_.bytesOf(mount_.file(path)), "content");
        expectStorageAsSeen();
    }
}

TEST_F(MountedNamelessTest, RefusesToReplaceAnEntry) {
    mount_.makeFile("/f", "old");
    FileInode& file = mount_.makeNameless("new");
    EXPECT_EQ(errnoOf([&] { nameIt(file, "/", "f"); }), EEXIST);
    EXPECT_EQ(mount_.storage().status(file).st_nlink, 0U);
    EXPECT_EQ(mount_.bytesOf(file), "new");
    mount_.close(file);
    expectStorageAsSeen();
}

TEST_F(MountedNamelessTest, KeepsManyFilesApart) {
    std::vector<FileInode*> files;
    for (int i = 0; i < 50; ++i) {
        files.push_back(&mount_.makeNameless(std::to_string(i)));
    }
    for (std::size_t i = 0; i < files.size(); i += 2) {
        nameIt(*files[i], "/", std::to_string(i));
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(mount_.bytesOf(*files[i]), std::to_string(i));
        mount_.close(*files[i]);
    }
    EXPECT_EQ(entriesInStorage(), files.size() / 2);
    expectStorageAsSeen();
}

TEST_F(MountedNamelessTest, TrimsATruncatedFile) {
    FileInode& file = mount_.makeNameless(std::string(300'000, 'x'));
    mount_.resize(file, 100'000);
    nameIt(file, "/", "f");
    EXPECT_EQ(storedSize("/f"), 100'000U);
    EXPECT_EQ(mount_.bytesOf(file), std::string(100'000, 'x'));
    mount_.close(file);
    expectStorageAsSeen();
}

TEST_F(MountedNamelessTest, LeavesNoNamelessFileInTheStorage) {
    FileInode& file = mount_.makeNameless("content");
    mount_.makeFile("/f");
    expectStorageAsSeen();
    EXPECT_EQ(entriesInStorage(), 1U);
    mount_.write(file, 7, "!");
    EXPECT_EQ(mount_.bytesOf(file), "content!");
    EXPECT_EQ(errnoOf([&] { nameIt(file, "/", "g"); }), ENOENT);
    mount_.close(file);
}

TEST_F(MountedNamelessTest, CreatesAFileInARemovedFolder) {
    const auto self = host::Owner::ofProcess();
    const auto made = mount_.storage().makeFolder(mount_.storage().root(), "d", 0755, self);
    auto& folder = static_cast<FolderInode&>(*made.inode);
    mount_.removeFolder("/d");
    Inode& file = *mount_.storage().makeNamelessFile(folder, 0600, self).inode;
    mount_.storage().release(folder, 1);
    nameIt(file, "/", "f");
    mount_.storage().release(file, 1);
    EXPECT_EQ(&mount_.at("/f"), &file);
    expectStorageAsSeen();
}

TEST_F(MountedNamelessTest, ChangesNothingWhenTheStorageFails) {
    int failures = 0;
    for (int number = 1;; ++number) {
        SCOPED_TRACE("operation " + std::to_string(number));
        const auto memory = sharedProvider(TEST_PLUGIN);
        HookedProvider provider(memory);
        MountedTree mount(provider);
        FileInode& file = mount.makeNameless("content");
        mount.makeFolder("/d");
        int error = 0;
        {
            const FailingStep step(provider, number, [] { throw std::bad_alloc(); });
            error = errnoOf([&] { mount.storage().link(file, mount.folder("/d"), "f"); });
            if (!step.happened()) {
                break;
            }
        }
        failures += error == 0 ? 0 : 1;
        EXPECT_EQ(mount.find("/d/f") == nullptr, error != 0);
        EXPECT_EQ(mount.storage().status(file).st_nlink, error == 0 ? 1U : 0U);
        EXPECT_EQ(mount.bytesOf(file), "content");
        mount.close(file);
        EXPECT_EQ(takeSnapshot(*memory).size(), error == 0 ? 3U : 2U);
    }
    EXPECT_GT(failures, 0);
}

TEST_F(MountedNamelessTest, LeavesNothingWhenTheCreationFails) {
    for (int number = 1;; ++number) {
        int error = 0;
        bool happened = false;
        {
            const FailingStep step(provider_, number, [] { throw std::bad_alloc(); });
            error = errnoOf([&] {
                const auto made = mount_.storage().makeNamelessFile(mount_.storage().root(), 0400,
                                                                    host::Owner::ofProcess());
                mount_.storage().release(*made.inode, 1);
            });
            happened = step.happened();
        }
        mount_.storage().settle();
        EXPECT_EQ(entriesInStorage(), 0U) << "operation " << number << ", error " << error;
        if (!happened) {
            break;
        }
    }
}

} // namespace

} // namespace storage::tests
