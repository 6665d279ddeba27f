#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>

#include <memory>

namespace storage::inmemoryprovider {
namespace {

using foundation::storage::provider::ReplacementPolicy;

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

TEST(DeepTree, isMovedAndDestroyedOnASmallStack) {
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

TEST(DeepTree, aChainThatOnlyItsTopHoldsIsDestroyedOnASmallStack) {
    const auto time = boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3));
    auto top = std::make_shared<InMemoryFolderEntry>(InMemoryEntryPath(u"/d"), time, true);
    auto bottom = top;
    auto text = top->getPath();
    for (int level = 0; level < greatDepth; ++level) {
        text.append(u"d");
        auto next = std::make_shared<InMemoryFolderEntry>(text, time, true);
        bottom->addChild(next);
        bottom = std::move(next);
    }
    const std::weak_ptr<InMemoryFolderEntry> observer = bottom;
    bottom.reset();
    runOnSmallStack([&] { top.reset(); });
    EXPECT_TRUE(observer.expired());
}

} // namespace
} // namespace storage::inmemoryprovider
