#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/MountedStorageTest.h"
#include "tests/support/RunTogether.h"

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace storage::tests {

namespace {

using provider::StorageIRI;

/// Renames with the semantics of rename(2).
class MountedRenameTest : public MountedStorageTest {};

TEST_F(MountedRenameTest, RenamesAFile) {
    Inode& file = mount_.makeFile("/f", "abc");
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.find("/f"), nullptr);
    EXPECT_EQ(&mount_.at("/g"), &file);
    EXPECT_EQ(stored("/g").bytes, "abc");
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, ReplacesAFileByAFile) {
    mount_.makeFile("/f", "new");
    mount_.makeFile("/g", "old");
    mount_.rename("/f", "/g");
    EXPECT_EQ(mount_.find("/f"), nullptr);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/g")), "new");
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, ReplacesAFileByOneOfAnotherFolder) {
    mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "new");
    mount_.makeFolder("/e");
    mount_.makeFile("/e/g", "old");
    mount_.rename("/d/f", "/e/g");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/e/g")), "new");
    mount_.removeFolder("/d");
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, ReplacesAnEmptyFolder) {
    mount_.makeFolder("/d");
    mount_.makeFile("/d/f", "abc");
    mount_.makeFolder("/e");
    FolderInode& folder = mount_.folder("/d");
    mount_.rename("/d", "/e");
    EXPECT_EQ(&mount_.at("/e"), &folder);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/e/f")), "abc");
    EXPECT_EQ(mount_.find("/d"), nullptr);
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, RefusesToReplaceAFolderThatIsNotEmpty) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/e");
    mount_.makeFile("/e/f", "abc");
    const TreeSnapshot before = mount_.snapshot();
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/e"); }), ENOTEMPTY);
    EXPECT_EQ(mount_.snapshot(), before);
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, RefusesToReplaceAFolderWithAnInvisibleEntry) {
    memory_->doCreateFolder(StorageIRI(u"/e"));
    memory_->doCreateFile(StorageIRI(u"/e/\xD800"));
    mount_.makeFolder("/d");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/e"); }), ENOTEMPTY);
    EXPECT_EQ(errnoOf([&] { mount_.removeFolder("/e"); }), ENOTEMPTY);
    EXPECT_TRUE(memory_->doFileExists(StorageIRI(u"/e/\xD800")));
}

TEST_F(MountedRenameTest, ReplacesAFolderThatWasEmptied) {
    mount_.makeFolder("/e");
    mount_.makeFile("/e/f");
    mount_.removeFile("/e/f");
    mount_.makeFolder("/d");
    mount_.rename("/d", "/e");
    EXPECT_EQ(mount_.find("/d"), nullptr);
}

TEST_F(MountedRenameTest, KeepsTheTargetWithNoReplace) {
    mount_.makeFile("/f", "new");
    mount_.makeFile("/g", "old");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/f", "/g", RENAME_NOREPLACE); }), EEXIST);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/f", "/f", RENAME_NOREPLACE); }), EEXIST);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/g")), "old");
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "new");
    mount_.rename("/f", "/free", RENAME_NOREPLACE);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/free")), "new");
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, ChangesNothingOntoItself) {
    mount_.makeFile("/f", "abc");
    mount_.makeFolder("/d");
    mount_.makeFile("/d/g", "def");
    mount_.setModified(mount_.at("/f"), pastTime);
    mount_.setModified(mount_.at("/d"), pastTime);
    mount_.setModified(mount_.at("/"), pastTime);
    const TreeSnapshot before = mount_.snapshot();
    mount_.rename("/f", "/f");
    mount_.rename("/d", "/d");
    EXPECT_EQ(mount_.snapshot(), before);
    EXPECT_EQ(takeSnapshot(*memory_), before);
}

TEST_F(MountedRenameTest, RefusesToMoveAFolderIntoItself) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/s");
    const TreeSnapshot before = mount_.snapshot();
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/d/x"); }), EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/d/s"); }), EINVAL);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/d/s/x"); }), EINVAL);
    EXPECT_EQ(mount_.snapshot(), before);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d/s", "/d"); }), ENOTEMPTY);
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, RefusesToReplaceAFileByAFolderAndTheReverse) {
    mount_.makeFile("/f", "abc");
    mount_.makeFolder("/d");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/f", "/d"); }), EISDIR);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/d", "/f"); }), ENOTDIR);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/f")), "abc");
    EXPECT_TRUE(mount_.at("/d").isFolder());
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, RefusesMissingEntries) {
    mount_.makeFile("/f");
    EXPECT_EQ(errnoOf([&] { mount_.rename("/x", "/y"); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/x", "/f"); }), ENOENT);
    EXPECT_EQ(errnoOf([&] { mount_.rename("/x", "/f", RENAME_NOREPLACE); }), ENOENT);
    EXPECT_NE(mount_.find("/f"), nullptr);
}

TEST_F(MountedRenameTest, KeepsOpenFilesBelowAMovedFolderUsable) {
    mount_.makeFolder("/d");
    mount_.makeFolder("/d/s");
    mount_.makeFile("/d/s/f", "abc");
    FileInode& file = mount_.open("/d/s/f");
    mount_.write(file, 3, "d");
    mount_.rename("/d", "/e");
    mount_.write(file, 4, "e");
    EXPECT_EQ(mount_.bytesOf(file), "abcde");
    mount_.resize(file, 3);
    mount_.rename("/e/s", "/t");
    EXPECT_EQ(mount_.bytesOf(file), "abc");
    mount_.resize(file, 5);
    EXPECT_EQ(mount_.bytesOf(mount_.file("/t/f")), std::string("abc\0\0", 5));
    mount_.close(file);
    expectStorageAsSeen();
}

TEST_F(MountedRenameTest, RenamesOneFileManyTimes) {
    mount_.makeFile("/0", "abc");
    for (int i = 0; i < 1000; ++i) {
        mount_.rename("/" + std::to_string(i), "/" + std::to_string(i + 1));
    }
    EXPECT_THAT(mount_.namesIn(mount_.storage().root()), testing::ElementsAre("1000"));
    EXPECT_EQ(mount_.bytesOf(mount_.file("/1000")), "abc");
    expectStorageAsSeen();
}

/// One thread replaces a file repeatedly. The others always find it, and never read a mixture of two
/// contents.
TEST_F(MountedRenameTest, NeverMissesAReplacedFile) {
    constexpr int replacements = 300;
    constexpr std::size_t size = 3000;
    mount_.makeFolder("/d");
    mount_.makeFile("/d/target", std::string(size, '0'));
    std::atomic<bool> ended = false;
    std::atomic<int> missing = 0;
    std::atomic<int> mixed = 0;
    std::atomic<int> reads = 0;
    const auto replace = [&] {
        for (int i = 1; i <= replacements; ++i) {
            mount_.makeFile("/d/new", std::string(size, static_cast<char>('0' + i % 10)));
            mount_.rename("/d/new", "/d/target");
        }
        ended = true;
    };
    const auto watch = [&] {
        FolderInode& folder = mount_.folder("/d");
        do {
            const auto found = mount_.storage().lookUp(folder, "target");
            if (found.inode == nullptr) {
                ++missing;
                continue;
            }
            auto& file = static_cast<FileInode&>(*found.inode);
            const std::string bytes = mount_.bytesOf(file);
            mixed += bytes == std::string(size, bytes.empty() ? '?' : bytes.front()) ? 0 : 1;
            ++reads;
            mount_.close(file);
        } while (!ended);
    };
    runTogether({replace, watch, watch});
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(mixed, 0);
    EXPECT_GT(reads, 0);
    expectStorageAsSeen();
}

/// The same for a folder that is moved back and forth: its content is always at exactly one of the two
/// places.
TEST_F(MountedRenameTest, KeepsAMovedFolderAtExactlyOnePlace) {
    constexpr int moves = 200;
    mount_.makeFolder("/a");
    mount_.makeFile("/a/f", "abc");
    Inode& file = mount_.at("/a/f");
    std::atomic<bool> ended = false;
    std::atomic<int> wrong = 0;
    const auto move = [&] {
        for (int i = 0; i < moves; ++i) {
            mount_.rename(i % 2 == 0 ? "/a" : "/b", i % 2 == 0 ? "/b" : "/a");
        }
        ended = true;
    };
    const auto watch = [&] {
        do {
            const auto names = mount_.namesIn(mount_.storage().root());
            wrong += names.size() == 1 && (names[0] == "a" || names[0] == "b") ? 0 : 1;
            wrong += mount_.bytesOf(static_cast<FileInode&>(file)) == "abc" ? 0 : 1;
        } while (!ended);
    };
    runTogether({move, watch, watch});
    EXPECT_EQ(wrong, 0);
    expectStorageAsSeen();
}

} // namespace

} // namespace storage::tests
