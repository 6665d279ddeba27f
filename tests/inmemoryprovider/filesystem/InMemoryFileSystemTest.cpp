#include "tests/inmemoryprovider/filesystem/FileSystemFixture.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/ReadOnlyException.h"
#include "tests/inmemoryprovider/ThrowsNaming.h"

namespace storage::inmemoryprovider::in_memory_file_system_test {
namespace {

boost::posix_time::ptime clockNow() {
    return boost::posix_time::microsec_clock::universal_time();
}

class InMemoryFileSystemTest : public FileSystemFixture {
protected:
    auto addingFile(const std::u16string& text) {
        return [this, text] { addFile(text); };
    }
    auto addingFolder(const std::u16string& text) {
        return [this, text] { addFolder(text); };
    }
    auto removingFile(const std::u16string& text) {
        return [this, text] { fileSystem.removeFileEntry(path(text)); };
    }
    auto removingFolder(const std::u16string& text) {
        return [this, text] { fileSystem.removeFolderEntry(path(text)); };
    }
};

TEST_F(InMemoryFileSystemTest, StartsWithAWritableRootStampedNow) {
    const auto before = clockNow();
    const InMemoryFileSystem fresh;
    const auto after = clockNow();
    const auto root = fresh.getFolderEntry(path(u"/"));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->getPath(), path(u"/"));
    EXPECT_TRUE(root->isWritable());
    EXPECT_TRUE(root->empty());
    EXPECT_GE(root->getLastModifiedTime(), before);
    EXPECT_LE(root->getLastModifiedTime(), after);
}

TEST_F(InMemoryFileSystemTest, KeepsTheRootWhenItIsCreatedAgain) {
    const auto root = fileSystem.getFolderEntry(path(u"/"));
    addFolder(u"/a");
    fileSystem.createRootEntry();
    EXPECT_EQ(fileSystem.getFolderEntry(path(u"/")), root);
    EXPECT_TRUE(isFolder(u"/a"));
}

TEST_F(InMemoryFileSystemTest, AddsNestedFolders) {
    addFolder(u"/a");
    addFolder(u"/a/b");
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_TRUE(isFolder(u"/a/b"));
    EXPECT_TRUE(node(u"/a/b")->isWritable());
}

TEST_F(InMemoryFileSystemTest, AddsEmptyWritableFiles) {
    addFile(u"/f");
    ASSERT_NE(file(u"/f"), nullptr);
    EXPECT_TRUE(file(u"/f")->isWritable());
    EXPECT_EQ(file(u"/f")->getFileSize(), 0U);
    EXPECT_FALSE(isFolder(u"/f"));
}

TEST_F(InMemoryFileSystemTest, KeepsTheCallersPathOfAnAddedFile) {
    const InMemoryEntryPath kept = path(u"/f");
    fileSystem.addFileEntry(kept);
    EXPECT_NE(file(u"/f"), nullptr);
    EXPECT_EQ(kept, path(u"/f"));
}

TEST_F(InMemoryFileSystemTest, StampsAnAddedEntryAndItsParentWithOneTime) {
    for (const bool asFolder : {false, true}) {
        const std::u16string name = asFolder ? u"/a/folder" : u"/a/file";
        if (!exists(u"/a")) {
            addFolder(u"/a");
        }
        age({u"/", u"/a"});
        const auto before = clockNow();
        asFolder ? addFolder(name) : addFile(name);
        EXPECT_GE(timeOf(name), before);
        EXPECT_LE(timeOf(name), clockNow());
        EXPECT_EQ(timeOf(u"/a"), timeOf(name));
        EXPECT_EQ(timeOf(u"/"), pastTime);
    }
}

TEST_F(InMemoryFileSystemTest, NamesTheMissingParentOfAnAddedEntry) {
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", addingFolder(u"/a/b")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", addingFile(u"/a/b")));
    addFile(u"/f");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/f", addingFolder(u"/f/b")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/f", addingFile(u"/f/b")));
}

TEST_F(InMemoryFileSystemTest, RefusesToAddAPathWithoutParent) {
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/", addingFolder(u"/")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"", addingFolder(u"")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"a", addingFolder(u"a")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", addingFile(u"/")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", addingFile(u"")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", addingFile(u"a")));
}

TEST_F(InMemoryFileSystemTest, RefusesToAddAtAnExistingPath) {
    addFolder(u"/a");
    addFile(u"/f");
    age({u"/", u"/a", u"/f"});
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a", addingFolder(u"/a")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a", addingFile(u"/a")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", addingFolder(u"/f")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/f", addingFile(u"/f")));
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(timeOf(u"/a"), pastTime);
    EXPECT_EQ(timeOf(u"/f"), pastTime);
}

TEST_F(InMemoryFileSystemTest, NamesTheReadOnlyFolderOfAnAddedEntry) {
    addFolder(u"/a");
    addFile(u"/a/f");
    makeReadOnly(u"/a");
    age({u"/a"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", addingFolder(u"/a/new")));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", addingFile(u"/a/new")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a/f", addingFolder(u"/a/f")));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a/f", addingFile(u"/a/f")));
    EXPECT_FALSE(exists(u"/a/new"));
    EXPECT_EQ(timeOf(u"/a"), pastTime);
}

TEST_F(InMemoryFileSystemTest, RemovesFilesAndStampsTheParent) {
    addFolder(u"/a");
    addFile(u"/a/f");
    age({u"/", u"/a"});
    const auto before = clockNow();
    fileSystem.removeFileEntry(path(u"/a/f"));
    EXPECT_FALSE(exists(u"/a/f"));
    EXPECT_GE(timeOf(u"/a"), before);
    EXPECT_EQ(timeOf(u"/"), pastTime);
}

TEST_F(InMemoryFileSystemTest, RemovesFoldersAndStampsOnlyTheParent) {
    addFolder(u"/a");
    addFolder(u"/a/b");
    const auto removed = node(u"/a/b");
    age({u"/", u"/a", u"/a/b"});
    fileSystem.removeFolderEntry(path(u"/a/b"));
    EXPECT_FALSE(exists(u"/a/b"));
    EXPECT_FALSE(isFolder(u"/a/b"));
    EXPECT_GT(timeOf(u"/a"), pastTime);
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(removed->getLastModifiedTime(), pastTime);
    addFolder(u"/a/b");
    EXPECT_TRUE(isFolder(u"/a/b"));
}

TEST_F(InMemoryFileSystemTest, DoesNotFindAMissingEntryOrTheOtherKindToRemove) {
    addFolder(u"/a");
    addFile(u"/f");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", removingFile(u"/x")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", removingFolder(u"/x")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", removingFile(u"/x/y")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", removingFolder(u"/x/y")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", removingFile(u"/a")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/f", removingFolder(u"/f")));
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_TRUE(exists(u"/f"));
}

TEST_F(InMemoryFileSystemTest, NeverRemovesTheRoot) {
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", removingFolder(u"/")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", removingFile(u"/")));
    EXPECT_NE(fileSystem.getFolderEntry(path(u"/")), nullptr);
}

TEST_F(InMemoryFileSystemTest, RefusesToRemoveANonEmptyFolder) {
    addFolder(u"/a");
    addFile(u"/a/f");
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/a", removingFolder(u"/a")));
    makeReadOnly(u"/a");
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/a", removingFolder(u"/a")));
    makeReadOnly(u"/");
    EXPECT_TRUE(throwsNaming<FolderNotEmptyException>(u"/a", removingFolder(u"/a")));
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_TRUE(exists(u"/a/f"));
}

TEST_F(InMemoryFileSystemTest, NamesTheReadOnlyFolderOfARemovedEntry) {
    addFolder(u"/a");
    addFile(u"/a/f");
    addFolder(u"/a/b");
    makeReadOnly(u"/a");
    age({u"/a"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", removingFile(u"/a/f")));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", removingFolder(u"/a/b")));
    makeReadOnly(u"/a/f");
    makeReadOnly(u"/a/b");
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", removingFile(u"/a/f")));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", removingFolder(u"/a/b")));
    EXPECT_TRUE(exists(u"/a/f"));
    EXPECT_TRUE(isFolder(u"/a/b"));
    EXPECT_EQ(timeOf(u"/a"), pastTime);
}

TEST_F(InMemoryFileSystemTest, NamesTheReadOnlyEntryToRemove) {
    addFile(u"/f");
    addFolder(u"/a");
    makeReadOnly(u"/f");
    makeReadOnly(u"/a");
    age({u"/"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/f", removingFile(u"/f")));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", removingFolder(u"/a")));
    EXPECT_TRUE(exists(u"/f"));
    EXPECT_TRUE(isFolder(u"/a"));
    EXPECT_EQ(timeOf(u"/"), pastTime);
}

TEST_F(InMemoryFileSystemTest, DestroysARemovedFileWithItsLastReference) {
    addFile(u"/f");
    const std::weak_ptr<InMemoryEntry> observer = node(u"/f");
    fileSystem.removeFileEntry(path(u"/f"));
    EXPECT_TRUE(observer.expired());
}

TEST_F(InMemoryFileSystemTest, DescribesFiles) {
    addFolder(u"/a");
    addFile(u"/a/f", "12345");
    age({u"/a/f"});
    EXPECT_EQ(fileSystem.getFileEntrySize(path(u"/a/f")), 5U);
    EXPECT_EQ(fileSystem.getFileEntryLastModified(path(u"/a/f")), pastTime);
    EXPECT_TRUE(fileSystem.fileIsWritable(path(u"/a/f")));
    makeReadOnly(u"/a/f");
    EXPECT_FALSE(fileSystem.fileIsWritable(path(u"/a/f")));
    EXPECT_EQ(timeOf(u"/a/f"), pastTime);
}

TEST_F(InMemoryFileSystemTest, DescribesFolders) {
    addFolder(u"/a");
    age({u"/a"});
    EXPECT_EQ(fileSystem.getFolderEntryLastModified(path(u"/a")), pastTime);
    EXPECT_TRUE(fileSystem.folderIsWritable(path(u"/a")));
    makeReadOnly(u"/a");
    EXPECT_FALSE(fileSystem.folderIsWritable(path(u"/a")));
}

TEST_F(InMemoryFileSystemTest, NamesTheFirstMissingPathOfAQuery) {
    addFolder(u"/a");
    addFile(u"/f");
    const auto eachFails = [&](const std::u16string& asked, const std::u16string& named, bool asFile,
                               bool asFolder) {
        const auto target = path(asked);
        if (asFile) {
            EXPECT_TRUE(
                throwsNaming<EntryNotFoundException>(named, [&] { fileSystem.getFileEntrySize(target); }));
            EXPECT_TRUE(throwsNaming<EntryNotFoundException>(
                named, [&] { fileSystem.getFileEntryLastModified(target); }));
            EXPECT_TRUE(
                throwsNaming<EntryNotFoundException>(named, [&] { fileSystem.fileIsWritable(target); }));
        }
        if (asFolder) {
            EXPECT_TRUE(throwsNaming<EntryNotFoundException>(
                named, [&] { fileSystem.getFolderEntryLastModified(target); }));
            EXPECT_TRUE(
                throwsNaming<EntryNotFoundException>(named, [&] { fileSystem.folderIsWritable(target); }));
        }
    };
    eachFails(u"/x", u"/x", true, true);
    eachFails(u"/x/y", u"/x", true, true);
    eachFails(u"/", u"", true, true);
    eachFails(u"/a", u"/a", true, false);
    eachFails(u"/f", u"/f", false, true);
    eachFails(u"/f/x", u"/f", true, true);
}

TEST_F(InMemoryFileSystemTest, LooksUpFoldersOnly) {
    addFolder(u"/a");
    addFile(u"/f");
    EXPECT_NE(fileSystem.getFolderEntry(path(u"/a")), nullptr);
    EXPECT_EQ(fileSystem.getFolderEntry(path(u"/f")), nullptr);
    EXPECT_EQ(fileSystem.getFolderEntry(path(u"/x")), nullptr);
    EXPECT_EQ(fileSystem.getFolderEntry(path(u"")), nullptr);
}

TEST_F(InMemoryFileSystemTest, DistinguishesNamesThatDifferOnlyInCase) {
    addFile(u"/a");
    addFile(u"/A");
    EXPECT_NE(node(u"/a"), node(u"/A"));
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_file_system_test
