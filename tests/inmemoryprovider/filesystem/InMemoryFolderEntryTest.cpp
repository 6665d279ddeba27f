#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider::in_memory_folder_entry_test {
namespace {

const boost::posix_time::ptime someTime(boost::gregorian::date(2001, 2, 3));

InMemoryEntryPath path(std::u16string text) {
    return InMemoryEntryPath(std::move(text));
}

std::shared_ptr<InMemoryFileEntry> makeFile(std::u16string text) {
    return std::make_shared<InMemoryFileEntry>(path(std::move(text)), someTime, true);
}

std::shared_ptr<InMemoryFolderEntry> makeFolder(std::u16string text) {
    return std::make_shared<InMemoryFolderEntry>(path(std::move(text)), someTime, true);
}

class InMemoryFolderEntryTest : public testing::Test {
protected:
    InMemoryFolderEntry folder{path(u"/f"), someTime, true};
};

TEST_F(InMemoryFolderEntryTest, BeginsEmpty) {
    EXPECT_TRUE(folder.empty());
    EXPECT_EQ(folder.begin(), folder.end());
    EXPECT_TRUE(folder.getLightWeightRepresentation().empty());
}

TEST_F(InMemoryFolderEntryTest, FindsChildrenByFullPath) {
    const auto child = makeFile(u"/f/a");
    folder.addChild(child);
    EXPECT_FALSE(folder.empty());
    EXPECT_EQ(folder.getEntry(path(u"/f/a")), child);
    EXPECT_EQ(folder.doGetEntry(path(u"/f/a")), child);
    EXPECT_TRUE(folder.doChildExist(path(u"/f/a")));
    EXPECT_EQ(folder.getEntry(path(u"a")), nullptr);
    EXPECT_FALSE(folder.doChildExist(path(u"a")));
    EXPECT_EQ(folder.doGetEntry(path(u"/f/b")), nullptr);
}

TEST_F(InMemoryFolderEntryTest, KeepsAnExistingChild) {
    const auto first = makeFile(u"/f/a");
    folder.addChild(first);
    folder.addChild(makeFolder(u"/f/a"));
    EXPECT_EQ(folder.getEntry(path(u"/f/a")), first);
    EXPECT_EQ(std::distance(folder.begin(), folder.end()), 1);
}

TEST_F(InMemoryFolderEntryTest, ReturnsATakenChild) {
    folder.addChild(makeFile(u"/f/a"));
    const std::weak_ptr<InMemoryEntry> observer = folder.getEntry(path(u"/f/a"));
    {
        const auto taken = folder.takeChild(folder.findChild(path(u"/f/a")).value());
        EXPECT_EQ(taken.mapped(), observer.lock());
        EXPECT_TRUE(folder.empty());
    }
    EXPECT_TRUE(observer.expired());
    EXPECT_FALSE(folder.findChild(path(u"/f/a")));
}

TEST_F(InMemoryFolderEntryTest, RestoresATakenChildUnlessItsPlaceIsTaken) {
    const auto first = makeFile(u"/f/a");
    const auto second = makeFile(u"/f/a");
    folder.addChild(first);
    folder.putChild(folder.takeChild(folder.findChild(path(u"/f/a")).value()));
    EXPECT_EQ(folder.getEntry(path(u"/f/a")), first);

    auto taken = folder.takeChild(folder.findChild(path(u"/f/a")).value());
    folder.addChild(second);
    folder.putChild(std::move(taken));
    EXPECT_EQ(folder.getEntry(path(u"/f/a")), second);
    folder.putChild(InMemoryFolderEntry::Children::node_type());
    EXPECT_EQ(std::distance(folder.begin(), folder.end()), 1);
}

TEST_F(InMemoryFolderEntryTest, FindsAChildByItsKindOnly) {
    const auto file = makeFile(u"/f/a");
    const auto subfolder = makeFolder(u"/f/b");
    folder.addChild(file);
    folder.addChild(subfolder);
    EXPECT_EQ(folder.getFileEntry(path(u"/f/a")), file);
    EXPECT_EQ(folder.getFolderEntry(path(u"/f/a")), nullptr);
    EXPECT_EQ(folder.getFolderEntry(path(u"/f/b")), subfolder);
    EXPECT_EQ(folder.getFileEntry(path(u"/f/b")), nullptr);
    EXPECT_EQ(folder.getFileEntry(path(u"/f/c")), nullptr);
    EXPECT_EQ(folder.getFolderEntry(path(u"/f/c")), nullptr);
    EXPECT_EQ(folder.getEntry(path(u"/f/b")), subfolder);
}

TEST_F(InMemoryFolderEntryTest, ReleasesARemovedChild) {
    auto child = makeFile(u"/f/a");
    const std::weak_ptr<InMemoryEntry> observer = child;
    folder.addChild(std::move(child));
    folder.removeChild(path(u"/f/a"));
    EXPECT_TRUE(folder.empty());
    EXPECT_TRUE(observer.expired());
}

TEST_F(InMemoryFolderEntryTest, IgnoresTheRemovalOfAnAbsentChild) {
    folder.addChild(makeFile(u"/f/a"));
    folder.removeChild(path(u"/f/b"));
    EXPECT_TRUE(folder.doChildExist(path(u"/f/a")));
}

TEST_F(InMemoryFolderEntryTest, IteratesInTheOrderOfPaths) {
    folder.addChild(makeFile(u"/f/b"));
    folder.addChild(makeFolder(u"/f/a0"));
    folder.addChild(makeFile(u"/f/a"));
    std::vector<std::u16string> names;
    for (const auto& [key, child] : folder) {
        EXPECT_EQ(key, child->getPath());
        names.push_back(child->getName());
    }
    EXPECT_EQ(names, (std::vector<std::u16string>{u"a", u"a0", u"b"}));
}

TEST_F(InMemoryFolderEntryTest, RepresentsChildrenByNameAndKind) {
    folder.addChild(makeFile(u"/f/b"));
    folder.addChild(makeFolder(u"/f/a"));
    const InMemoryFolderEntry::LightWeightRepresentation expected{{path(u"/f/a"), {u"a", true}},
                                                                  {path(u"/f/b"), {u"b", false}}};
    EXPECT_EQ(folder.getLightWeightRepresentation(), expected);
}

TEST_F(InMemoryFolderEntryTest, ReferencesNoNodeInARepresentation) {
    auto child = makeFile(u"/f/a");
    const std::weak_ptr<InMemoryEntry> observer = child;
    folder.addChild(std::move(child));
    const auto representation = folder.getLightWeightRepresentation();
    folder.removeChild(path(u"/f/a"));
    EXPECT_TRUE(observer.expired());
    EXPECT_EQ(representation.size(), 1U);
}

TEST(InMemoryFolderEntryDestructionTest, ReleasesUnsharedEntriesOnly) {
    auto outer = makeFolder(u"/f");
    auto inner = makeFolder(u"/f/a");
    auto unshared = makeFolder(u"/f/b");
    const auto heldFile = makeFile(u"/f/a/x");
    const std::weak_ptr<InMemoryFolderEntry> unsharedObserver = unshared;
    inner->addChild(heldFile);
    unshared->addChild(makeFolder(u"/f/b/c"));
    outer->addChild(inner);
    outer->addChild(std::move(unshared));
    outer.reset();
    EXPECT_TRUE(unsharedObserver.expired());
    EXPECT_EQ(inner.use_count(), 1);
    EXPECT_EQ(inner->getEntry(path(u"/f/a/x")), heldFile);
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_folder_entry_test
