#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::deep_tree_test {
namespace {

using provider::ReplacementPolicy;

using tests::greatDepth;
using tests::runOnSmallStack;

std::u16string deepPath(const std::u16string& top) {
    std::u16string text = u"/" + top;
    for (int level = 1; level < greatDepth; ++level) {
        text += u"/d";
    }
    return text;
}

void addChain(InMemoryFileSystem& fileSystem, const std::u16string& top) {
    std::u16string text = u"/" + top;
    for (int level = 0; level < greatDepth; ++level) {
        fileSystem.addFolderEntry(InMemoryEntryPath(text));
        text += u"/d";
    }
}

TEST(DeepTreeTest, IsMovedAndDestroyedOnASmallStack) {
    runOnSmallStack([] {
        auto fileSystem = std::make_unique<InMemoryFileSystem>();
        addChain(*fileSystem, u"a");
        fileSystem->moveFolderEntry(InMemoryEntryPath(u"/a"), InMemoryEntryPath(u"/b"),
                                    ReplacementPolicy::RefuseExisting);
        EXPECT_EQ(fileSystem->getFolderEntry(InMemoryEntryPath(deepPath(u"a"))), nullptr);
        EXPECT_NE(fileSystem->getFolderEntry(InMemoryEntryPath(deepPath(u"b"))), nullptr);
        const std::weak_ptr<InMemoryFolderEntry> deepest =
            fileSystem->getFolderEntry(InMemoryEntryPath(deepPath(u"b")));
        fileSystem.reset();
        EXPECT_TRUE(deepest.expired());
    });
}

std::shared_ptr<InMemoryFolderEntry> addFolder(InMemoryFolderEntry& parent, const std::u16string& name) {
    auto path = parent.getPath();
    path.append(name);
    auto folder = std::make_shared<InMemoryFolderEntry>(path, parent.getLastModifiedTime(), true);
    parent.addChild(folder);
    return folder;
}

/// Destroys a deep chain of folders that only its top owns. Each level also has the folders `beside`.
void expectDestroyedOnASmallStack(const std::vector<std::u16string>& beside) {
    const boost::posix_time::ptime time(boost::gregorian::date(2001, 2, 3));
    auto top = std::make_shared<InMemoryFolderEntry>(InMemoryEntryPath(u"/d"), time, true);
    auto bottom = top;
    for (int level = 0; level < greatDepth; ++level) {
        for (const auto& name : beside) {
            addFolder(*bottom, name);
        }
        bottom = addFolder(*bottom, u"d");
    }
    const std::weak_ptr<InMemoryFolderEntry> deepest = bottom;
    bottom.reset();
    runOnSmallStack([&] { top.reset(); });
    EXPECT_TRUE(deepest.expired());
}

TEST(DeepTreeTest, DestroysAChainOwnedByItsTopOnASmallStack) {
    expectDestroyedOnASmallStack({});
}

TEST(DeepTreeTest, IsDestroyedOnASmallStackWithSiblings) {
    expectDestroyedOnASmallStack({u"c"});
    expectDestroyedOnASmallStack({u"e"});
}

} // namespace
} // namespace storage::inmemoryprovider::deep_tree_test
