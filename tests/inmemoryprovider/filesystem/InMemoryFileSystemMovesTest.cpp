#include "tests/inmemoryprovider/filesystem/FileSystemFixture.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/ReadOnlyException.h"
#include "tests/inmemoryprovider/ThrowsNaming.h"

namespace storage::inmemoryprovider::in_memory_file_system_moves_test {
namespace {

using provider::ByteStream;
using provider::ByteStreamAppend;
using provider::ReplacementPolicy;

constexpr auto refuse = ReplacementPolicy::RefuseExisting;
constexpr auto replace = ReplacementPolicy::ReplaceExisting;
constexpr auto refuseFile = ReplacementPolicy::RefuseExistingFile;
constexpr auto unnamed = static_cast<ReplacementPolicy>(5);
constexpr auto negative = static_cast<ReplacementPolicy>(-1);
constexpr auto append = ByteStreamAppend::AppendAtEnd;

class MovesFixture : public FileSystemFixture {
protected:
    auto movingFile(const std::u16string& source, const std::u16string& target, ReplacementPolicy policy) {
        return [=, this] { fileSystem.moveFileEntry(path(source), path(target), policy); };
    }

    auto movingFolder(const std::u16string& source, const std::u16string& target, ReplacementPolicy policy) {
        return [=, this] { fileSystem.moveFolderEntry(path(source), path(target), policy); };
    }

    bool isWritable(const std::u16string& text) const { return node(text)->isWritable(); }
};

class MoveFileTest : public MovesFixture {};

TEST_F(MoveFileTest, KeepsTheBytesAndStampsFileAndFolders) {
    addFolder(u"/a");
    addFolder(u"/b");
    addFile(u"/a/f", "abc");
    const auto oldNode = file(u"/a/f");
    const auto content = oldNode->getContent();
    age({u"/", u"/a", u"/b", u"/a/f"});
    movingFile(u"/a/f", u"/b/g", refuse)();
    EXPECT_FALSE(exists(u"/a/f"));
    ASSERT_TRUE(exists(u"/b/g"));
    EXPECT_NE(file(u"/b/g"), oldNode);
    EXPECT_EQ(file(u"/b/g")->getContent(), content);
    EXPECT_EQ(file(u"/b/g")->getMutex(), oldNode->getMutex());
    EXPECT_EQ(bytesOf(u"/b/g"), "abc");
    EXPECT_EQ(oldNode->getPath(), path(u"/a/f"));
    EXPECT_GT(timeOf(u"/b/g"), pastTime);
    EXPECT_EQ(timeOf(u"/a"), timeOf(u"/b/g"));
    EXPECT_EQ(timeOf(u"/b"), timeOf(u"/b/g"));
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(oldNode->getLastModifiedTime(), pastTime);
}

TEST_F(MoveFileTest, MovesAnUnwrittenFileToAnEmptyOneThatCanBeWritten) {
    addFile(u"/f");
    movingFile(u"/f", u"/g", refuse)();
    EXPECT_EQ(file(u"/g")->getFileSize(), 0U);
    fileSystem.checkOutFileEntry(path(u"/g"), {})->write("abc", 3);
    EXPECT_EQ(bytesOf(u"/g"), "abc");
}

/// Bytes that are written through the old node after the move are in the new node, and vice versa.
TEST_F(MoveFileTest, SharesTheBytesOfAnUnwrittenFileWithAnOpenStream) {
    addFile(u"/f");
    const auto stream = fileSystem.checkOutFileEntry(path(u"/f"), {});
    movingFile(u"/f", u"/g", refuse)();
    EXPECT_EQ(stream->write("abc", 3), 3);
    EXPECT_EQ(bytesOf(u"/g"), "abc");
    unsigned long position = 0;
    file(u"/g")->write("defg", 4, position, append);
    std::string read(8, '.');
    EXPECT_EQ(stream->read(read.data(), 8), 4);
    EXPECT_EQ(read, "defg....");
}

TEST_F(MoveFileTest, SharesTheBytesOfAnUnwrittenFileWithAReadOnlyStream) {
    addFile(u"/f");
    const auto stream = static_cast<const InMemoryFileSystem&>(fileSystem).checkOutFileEntry(path(u"/f"));
    movingFile(u"/f", u"/g", refuse)();
    fileSystem.checkOutFileEntry(path(u"/g"), {})->write("abc", 3);
    std::string read(4, '.');
    EXPECT_EQ(stream->read(read.data(), 4), 3);
    EXPECT_EQ(read, "abc.");
}

TEST_F(MoveFileTest, SharesTheBytesWithAStreamAfterSeveralMoves) {
    addFile(u"/f");
    const auto stream = fileSystem.checkOutFileEntry(path(u"/f"), {});
    movingFile(u"/f", u"/g", refuse)();
    movingFile(u"/g", u"/h", refuse)();
    stream->write("abc", 3);
    EXPECT_EQ(bytesOf(u"/h"), "abc");
}

TEST_F(MoveFileTest, KeepsBytesWrittenByAClosedStream) {
    addFile(u"/f");
    fileSystem.checkOutFileEntry(path(u"/f"), {})->write("abc", 3);
    movingFile(u"/f", u"/g", refuse)();
    EXPECT_EQ(bytesOf(u"/g"), "abc");
}

TEST_F(MoveFileTest, StampsTheFolderWhenMovingWithinIt) {
    addFolder(u"/d");
    addFile(u"/d/x", "abc");
    age({u"/d", u"/d/x"});
    movingFile(u"/d/x", u"/d/y", refuse)();
    EXPECT_FALSE(exists(u"/d/x"));
    EXPECT_EQ(bytesOf(u"/d/y"), "abc");
    EXPECT_GT(timeOf(u"/d"), pastTime);
    EXPECT_EQ(timeOf(u"/d"), timeOf(u"/d/y"));
}

TEST_F(MoveFileTest, KeepsTheWritableFlag) {
    addFile(u"/f");
    makeReadOnly(u"/f");
    movingFile(u"/f", u"/g", refuse)();
    EXPECT_FALSE(isWritable(u"/g"));
}

TEST_F(MoveFileTest, ReplacesAFileUnderEveryOtherPolicy) {
    for (const auto policy : {replace, unnamed, negative}) {
        addFile(u"/f", "new");
        addFile(u"/g", "old");
        makeReadOnly(u"/f");
        age({u"/", u"/f", u"/g"});
        movingFile(u"/f", u"/g", policy)();
        EXPECT_FALSE(exists(u"/f"));
        EXPECT_GT(timeOf(u"/g"), pastTime);
        EXPECT_EQ(timeOf(u"/"), timeOf(u"/g"));
        EXPECT_EQ(bytesOf(u"/g"), "new");
        EXPECT_FALSE(isWritable(u"/g"));
        node(u"/g")->setWritable(true);
        fileSystem.removeFileEntry(path(u"/g"));
    }
}

TEST_F(MoveFileTest, RefusesToReplaceAFileUnderTwoPolicies) {
    addFile(u"/f", "new");
    addFile(u"/g", "old");
    age({u"/", u"/f", u"/g"});
    for (const auto policy : {refuse, refuseFile}) {
        EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/g", movingFile(u"/f", u"/g", policy)));
    }
    EXPECT_EQ(bytesOf(u"/f"), "new");
    EXPECT_EQ(bytesOf(u"/g"), "old");
    for (const auto* entry : {u"/", u"/f", u"/g"}) {
        EXPECT_EQ(timeOf(entry), pastTime);
    }
}

TEST_F(MoveFileTest, NeverReplacesAFolder) {
    addFile(u"/f");
    addFolder(u"/a");
    for (const auto policy : {refuse, replace, refuseFile}) {
        EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a", movingFile(u"/f", u"/a", policy)));
    }
    EXPECT_TRUE(exists(u"/f"));
    EXPECT_TRUE(isFolder(u"/a"));
}

TEST_F(MoveFileTest, NamesMissingEntriesSourceFirst) {
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", movingFile(u"/a/f", u"/b/g", replace)));
    addFolder(u"/a");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a/f", movingFile(u"/a/f", u"/b/g", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", movingFile(u"/a", u"/b/g", replace)));
    addFile(u"/a/f");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/b", movingFile(u"/a/f", u"/b/g", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", movingFile(u"/", u"/b", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", movingFile(u"/a/f", u"/", replace)));
    EXPECT_TRUE(exists(u"/a/f"));
}

TEST_F(MoveFileTest, NamesAReadOnlyTargetBeforeItsFolder) {
    addFolder(u"/a");
    addFile(u"/f", "new");
    addFile(u"/a/g", "old");
    makeReadOnly(u"/a/g");
    makeReadOnly(u"/a");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a/g", movingFile(u"/f", u"/a/g", replace)));
    node(u"/a/g")->setWritable(true);
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", movingFile(u"/f", u"/a/g", replace)));
    EXPECT_EQ(bytesOf(u"/a/g"), "old");
    EXPECT_EQ(bytesOf(u"/f"), "new");
}

TEST_F(MoveFileTest, ChecksTheSourcesFolderBeforeTheTargets) {
    addFolder(u"/a");
    addFolder(u"/b");
    addFile(u"/a/f");
    makeReadOnly(u"/b");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/b", movingFile(u"/a/f", u"/b/g", refuse)));
    makeReadOnly(u"/a");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", movingFile(u"/a/f", u"/b/g", refuse)));
    EXPECT_TRUE(exists(u"/a/f"));
    EXPECT_FALSE(exists(u"/b/g"));
}

TEST_F(MoveFileTest, ChecksTheSourceFolderAfterRemovingTheTarget) {
    addFolder(u"/a");
    addFile(u"/a/f", "new");
    addFile(u"/g", "old");
    makeReadOnly(u"/a");
    age({u"/", u"/a"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", movingFile(u"/a/f", u"/g", replace)));
    EXPECT_FALSE(exists(u"/g"));
    EXPECT_EQ(bytesOf(u"/a/f"), "new");
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(timeOf(u"/a"), pastTime);
}

TEST_F(MoveFileTest, RefusesOrRemovesAFileMovedOntoItself) {
    addFile(u"/f", "abc");
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", movingFile(u"/f", u"/f", refuse)));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", movingFile(u"/f", u"/f", refuseFile)));
    EXPECT_EQ(bytesOf(u"/f"), "abc");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/f", movingFile(u"/f", u"/f/", replace)));
    EXPECT_FALSE(exists(u"/f"));
}

class MoveFolderTest : public MovesFixture {
protected:
    /// "/a" with a file, an empty folder and a folder with a file in it.
    void addTree() {
        addFolder(u"/a");
        addFile(u"/a/f", "f");
        addFolder(u"/a/e");
        addFolder(u"/a/s");
        addFile(u"/a/s/g", "g");
    }

    void expectTreeAt(const std::u16string& root) {
        EXPECT_TRUE(isFolder(root));
        EXPECT_TRUE(isFolder(root + u"/e"));
        EXPECT_TRUE(isFolder(root + u"/s"));
        ASSERT_TRUE(exists(root + u"/f"));
        ASSERT_TRUE(exists(root + u"/s/g"));
        EXPECT_EQ(bytesOf(root + u"/f"), "f");
        EXPECT_EQ(bytesOf(root + u"/s/g"), "g");
    }

    void expectNoTreeAt(const std::u16string& root) {
        for (const auto* below : {u"", u"/f", u"/e", u"/s", u"/s/g"}) {
            EXPECT_FALSE(exists(root + below));
            EXPECT_FALSE(isFolder(root + below));
        }
    }
};

TEST_F(MoveFolderTest, MovesTheSubtreeAndStampsItWithOneTime) {
    addTree();
    addFolder(u"/b");
    age({u"/", u"/b", u"/a", u"/a/f", u"/a/e", u"/a/s", u"/a/s/g"});
    const auto oldFolder = node(u"/a/s");
    const auto oldFile = file(u"/a/s/g");
    movingFolder(u"/a", u"/b/c", refuse)();
    expectNoTreeAt(u"/a");
    expectTreeAt(u"/b/c");
    EXPECT_NE(node(u"/b/c/s"), oldFolder);
    EXPECT_NE(node(u"/b/c/s/g"), oldFile);
    EXPECT_EQ(file(u"/b/c/s/g")->getContent(), oldFile->getContent());
    const auto stamp = timeOf(u"/b/c");
    EXPECT_GT(stamp, pastTime);
    for (const auto* entry : {u"/", u"/b", u"/b/c/f", u"/b/c/e", u"/b/c/s", u"/b/c/s/g"}) {
        EXPECT_EQ(timeOf(entry), stamp);
    }
}

TEST_F(MoveFolderTest, MovesManyFilesWithTheirBytesAndStreams) {
    constexpr int count = 100;
    addFolder(u"/a");
    std::vector<std::unique_ptr<ByteStream>> streams;
    const auto nameOf = [](int number) { return std::u16string(1, static_cast<char16_t>(u'0' + number)); };
    for (int number = 0; number < count; ++number) {
        if (number % 2 == 0) {
            addFile(u"/a/" + nameOf(number));
        } else {
            addFile(u"/a/" + nameOf(number), std::to_string(number));
        }
        if (number % 3 == 0) {
            streams.push_back(
                fileSystem.checkOutFileEntry(path(u"/a/" + nameOf(number)), {.append = append}));
        }
    }
    movingFolder(u"/a", u"/b", refuse)();
    for (const auto& stream : streams) {
        stream->write("!", 1);
    }
    EXPECT_FALSE(isFolder(u"/a"));
    for (int number = 0; number < count; ++number) {
        ASSERT_TRUE(exists(u"/b/" + nameOf(number)));
        EXPECT_EQ(bytesOf(u"/b/" + nameOf(number)),
                  (number % 2 == 0 ? "" : std::to_string(number)) + (number % 3 == 0 ? "!" : ""));
        fileSystem.removeFileEntry(path(u"/b/" + nameOf(number)));
    }
    fileSystem.removeFolderEntry(path(u"/b"));
}

TEST_F(MoveFolderTest, MovesManyFoldersAndFindsEachByItsNewPathOnly) {
    constexpr char16_t count = 120;
    addFolder(u"/a");
    for (char16_t number = 0; number < count; ++number) {
        const std::u16string name(1, static_cast<char16_t>(u'0' + number));
        addFolder(u"/a/" + name);
        addFile(u"/a/" + name + u"/f", "abc");
    }
    movingFolder(u"/a", u"/b", refuse)();
    for (char16_t number = 0; number < count; ++number) {
        const std::u16string name(1, static_cast<char16_t>(u'0' + number));
        EXPECT_FALSE(isFolder(u"/a/" + name));
        EXPECT_TRUE(isFolder(u"/b/" + name));
        EXPECT_EQ(bytesOf(u"/b/" + name + u"/f"), "abc");
    }
}

TEST_F(MoveFolderTest, StampsBothParentsOfAnEmptyFolder) {
    addFolder(u"/p");
    addFolder(u"/p/a");
    age({u"/", u"/p"});
    movingFolder(u"/p/a", u"/b", refuse)();
    EXPECT_TRUE(isFolder(u"/b"));
    EXPECT_FALSE(isFolder(u"/p/a"));
    EXPECT_EQ(timeOf(u"/p"), timeOf(u"/b"));
    EXPECT_EQ(timeOf(u"/"), timeOf(u"/b"));
    EXPECT_GT(timeOf(u"/b"), pastTime);
}

TEST_F(MoveFolderTest, KeepsReadOnlyFilesReadOnly) {
    addTree();
    makeReadOnly(u"/a/s/g");
    movingFolder(u"/a", u"/b", refuse)();
    expectTreeAt(u"/b");
    EXPECT_FALSE(isWritable(u"/b/s/g"));
    EXPECT_TRUE(isWritable(u"/b/s"));
    EXPECT_TRUE(isWritable(u"/b"));
}

TEST_F(MoveFolderTest, ReplacesAnEmptyFolderUnderEveryOtherPolicy) {
    for (const auto policy : {replace, refuseFile, unnamed, negative}) {
        addTree();
        addFolder(u"/b");
        movingFolder(u"/a", u"/b", policy)();
        expectNoTreeAt(u"/a");
        expectTreeAt(u"/b");
        movingFolder(
            u"/b", u"/done" + std::u16string(1, static_cast<char16_t>(u'0' + (static_cast<int>(policy) & 7))),
            refuse)();
    }
}

TEST_F(MoveFolderTest, RefusesToReplaceUnderOnePolicy) {
    addTree();
    addFolder(u"/b");
    age({u"/", u"/a", u"/b"});
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/b", movingFolder(u"/a", u"/b", refuse)));
    addFile(u"/b/x");
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/b", movingFolder(u"/a", u"/b", refuse)));
    expectTreeAt(u"/a");
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(timeOf(u"/a"), pastTime);
}

TEST_F(MoveFolderTest, NeverReplacesAFileOrANonEmptyFolder) {
    addTree();
    addFile(u"/f");
    addFolder(u"/b");
    addFile(u"/b/x");
    for (const auto policy : {replace, refuseFile}) {
        EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", movingFolder(u"/a", u"/f", policy)));
        EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/b", movingFolder(u"/a", u"/b", policy)));
    }
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", movingFolder(u"/a", u"/f", refuse)));
    makeReadOnly(u"/b");
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/b", movingFolder(u"/a", u"/b", replace)));
    expectTreeAt(u"/a");
    EXPECT_TRUE(exists(u"/b/x"));
}

TEST_F(MoveFolderTest, NamesMissingEntriesSourceFirst) {
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", movingFolder(u"/x/a", u"/y/b", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", movingFolder(u"/x", u"/y/b", replace)));
    addFile(u"/f");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/f", movingFolder(u"/f", u"/y/b", replace)));
    addTree();
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/y", movingFolder(u"/a", u"/y/b", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", movingFolder(u"/", u"/y", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", movingFolder(u"/a", u"/", replace)));
    expectTreeAt(u"/a");
}

TEST_F(MoveFolderTest, NamesAReadOnlyTargetBeforeItsFolder) {
    addTree();
    addFolder(u"/p");
    addFolder(u"/p/b");
    makeReadOnly(u"/p/b");
    makeReadOnly(u"/p");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/p/b", movingFolder(u"/a", u"/p/b", replace)));
    node(u"/p/b")->setWritable(true);
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/p", movingFolder(u"/a", u"/p/b", replace)));
    expectTreeAt(u"/a");
    EXPECT_TRUE(isFolder(u"/p/b"));
}

TEST_F(MoveFolderTest, ChecksTheSourcesFolderThenTheSourceThenTheTargetsFolder) {
    addFolder(u"/p");
    addFolder(u"/p/a");
    addFolder(u"/q");
    makeReadOnly(u"/q");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/q", movingFolder(u"/p/a", u"/q/b", refuse)));
    makeReadOnly(u"/p/a");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/p/a", movingFolder(u"/p/a", u"/q/b", refuse)));
    makeReadOnly(u"/p");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/p", movingFolder(u"/p/a", u"/q/b", refuse)));
    EXPECT_TRUE(isFolder(u"/p/a"));
    EXPECT_FALSE(isFolder(u"/q/b"));
}

TEST_F(MoveFolderTest, ChecksTheSourceAfterRemovingTheTarget) {
    addTree();
    addFolder(u"/b");
    makeReadOnly(u"/a");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", movingFolder(u"/a", u"/b", replace)));
    EXPECT_FALSE(isFolder(u"/b"));
    expectTreeAt(u"/a");
}

TEST_F(MoveFolderTest, StopsAtAReadOnlyFolderBelow) {
    addTree();
    addFile(u"/a/z", "z");
    addFile(u"/a/e/x", "x");
    makeReadOnly(u"/a/s");
    age({u"/", u"/a", u"/a/s", u"/a/s/g", u"/a/z"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a/s", movingFolder(u"/a", u"/b", refuse)));
    // "e" and "f" sort before "s", "z" after it.
    EXPECT_TRUE(isFolder(u"/b"));
    EXPECT_TRUE(isFolder(u"/b/e"));
    EXPECT_EQ(bytesOf(u"/b/e/x"), "x");
    EXPECT_EQ(bytesOf(u"/b/f"), "f");
    EXPECT_FALSE(isFolder(u"/a/e"));
    EXPECT_FALSE(exists(u"/a/f"));
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_TRUE(isFolder(u"/a/s"));
    EXPECT_EQ(bytesOf(u"/a/s/g"), "g");
    EXPECT_EQ(bytesOf(u"/a/z"), "z");
    EXPECT_FALSE(exists(u"/b/s"));
    EXPECT_FALSE(exists(u"/b/z"));
    // The moves of the children stamped both folders. The unfinished moves stamped nothing above them.
    EXPECT_EQ(timeOf(u"/a"), timeOf(u"/b"));
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(timeOf(u"/a/s"), pastTime);
    EXPECT_EQ(timeOf(u"/a/z"), pastTime);
}

TEST_F(MoveFolderTest, RefusesAFolderOntoItselfAndChangesNothing) {
    addFolder(u"/e");
    age({u"/", u"/e"});
    for (const auto policy : {refuse, replace, refuseFile}) {
        EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/e", movingFolder(u"/e", u"/e", policy)));
    }
    addTree();
    age({u"/"});
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a", movingFolder(u"/a", u"/a", refuse)));
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/a", movingFolder(u"/a", u"/a", replace)));
    expectTreeAt(u"/a");
    EXPECT_TRUE(isFolder(u"/e"));
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(timeOf(u"/e"), pastTime);
}

/// "/a//s" and "/a/s" both get the new path "/b/s"; the file moves first.
TEST_F(MoveFolderTest, ReportsAReadOnlyFolderBelowBeforeItsTakenNewPath) {
    addFolder(u"/a");
    addFile(u"/a//s");
    addFolder(u"/a/s");
    makeReadOnly(u"/a/s");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a/s", movingFolder(u"/a", u"/b", refuse)));
    EXPECT_FALSE(node(u"/b/s")->isFolder());
    EXPECT_TRUE(isFolder(u"/a/s"));
}

TEST_F(MoveFolderTest, ChecksReadOnlyFoldersBeforeAMoveOntoItself) {
    addFolder(u"/e");
    makeReadOnly(u"/e");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/e", movingFolder(u"/e", u"/e", replace)));
    node(u"/e")->setWritable(true);
    makeReadOnly(u"/");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/", movingFolder(u"/e", u"/e", replace)));
    EXPECT_TRUE(isFolder(u"/e"));
}

TEST_F(MoveFolderTest, RefusesAFolderBelowItselfAndChangesNothing) {
    addTree();
    age({u"/", u"/a", u"/a/e", u"/a/s"});
    for (const auto* target : {u"/a/new", u"/a/s/new", u"/a/e", u"/a//new"}) {
        EXPECT_TRUE(throwsNaming<EntryExistsException>(target, movingFolder(u"/a", target, replace)));
    }
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a/f", movingFolder(u"/a", u"/a/f", replace)));
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/a/s", movingFolder(u"/a", u"/a/s", replace)));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a/x", movingFolder(u"/a", u"/a/x/y", replace)));
    expectTreeAt(u"/a");
    for (const auto* entry : {u"/", u"/a", u"/a/e", u"/a/s"}) {
        EXPECT_EQ(timeOf(entry), pastTime);
    }
}

TEST_F(MoveFolderTest, AcceptsATargetWithThePrefixOfTheSource) {
    addTree();
    movingFolder(u"/a", u"/ab", refuse)();
    expectTreeAt(u"/ab");
    movingFolder(u"/ab", u"/a", refuse)();
    expectTreeAt(u"/a");
}

TEST_F(MoveFolderTest, StopsAtTwoChildrenWithOneNameAndLosesNone) {
    addFolder(u"/a");
    addFile(u"/a//f", "double");
    addFile(u"/a/f", "single");
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/b/f", movingFolder(u"/a", u"/b", refuse)));
    EXPECT_EQ(bytesOf(u"/b/f"), "double");
    EXPECT_EQ(bytesOf(u"/a/f"), "single");
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_TRUE(isFolder(u"/b"));
}

TEST_F(MoveFolderTest, StopsAtAChildWithAnUnchangedPath) {
    addFolder(u"/a");
    addFolder(u"/a//");
    addFile(u"/a///f", "f");
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a///f", movingFolder(u"/a//", u"/a///", refuse)));
    EXPECT_EQ(bytesOf(u"/a///f"), "f");
}

/// The last separator of each text is removed. By its path, the folder "/b///" belongs to "/b/", and its new
/// path "/b/////" belongs to it.
TEST_F(MoveFolderTest, StopsAtAFolderWithANewPathBelowItself) {
    for (const auto* text : {u"/b", u"/b//", u"/b///", u"/b////"}) {
        addFolder(text);
    }
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/b//////", movingFolder(u"/b//", u"/b/////", refuse)));
    EXPECT_TRUE(isFolder(u"/b//"));
    EXPECT_TRUE(isFolder(u"/b////"));
    EXPECT_FALSE(isFolder(u"/b//////"));
}

TEST_F(MoveFolderTest, MovesAChildWithAnEmptyName) {
    addFolder(u"/a");
    addFile(u"/a//", "nameless");
    movingFolder(u"/a", u"/b", refuse)();
    EXPECT_EQ(bytesOf(u"/b//"), "nameless");
    EXPECT_FALSE(exists(u"/a//"));
}

TEST_F(MoveFolderTest, StopsAtAChildWithAMissingNewParent) {
    addTree();
    // By their paths, the entries below "/x//" belong to "/x/".
    addFolder(u"/x");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x//", movingFolder(u"/a", u"/x///", refuse)));
    expectTreeAt(u"/a");
    EXPECT_TRUE(isFolder(u"/x///"));
}

/// By their paths, the children of "/x///" belong to "/x//". The new paths of "/a/f" and "/b/s" are taken.
TEST_F(MoveFolderTest, StopsAtAReadOnlyNewParentBeforeATakenPath) {
    for (const auto* folder : {u"/a", u"/b", u"/b/s", u"/x", u"/x//", u"/x///s"}) {
        addFolder(folder);
    }
    addFile(u"/a/f");
    addFile(u"/x///f");
    makeReadOnly(u"/x//");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/x//", movingFolder(u"/a", u"/x///", refuse)));
    EXPECT_TRUE(exists(u"/a/f"));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/x//", movingFolder(u"/b", u"/x///", replace)));
    EXPECT_TRUE(isFolder(u"/b/s"));
}

TEST_F(MoveFolderTest, SharesTheBytesOfAStreamOpenedBeforeTheMove) {
    addTree();
    const auto stream = fileSystem.checkOutFileEntry(path(u"/a/s/g"));
    movingFolder(u"/a", u"/b", refuse)();
    stream->write("new", 3);
    EXPECT_EQ(bytesOf(u"/b/s/g"), "new");
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_file_system_moves_test
