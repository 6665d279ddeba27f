#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"
#include "tests/support/SmallStack.h"

namespace storage::tests {

using namespace provider;

namespace {

std::u16string chain() {
    std::u16string path;
    for (int level = 0; level < greatDepth; ++level) {
        path += u"/d";
    }
    return path;
}

using IProviderDeepTreeTest = ProviderTest;

TEST_F(IProviderDeepTreeTest, IsCreatedListedAndRemovedOnASmallStack) {
    const std::u16string deepest = chain();
    runOnSmallStack([&] {
        provider_->doCreateFolderRecursive(at(deepest));
        makeFile(deepest + u"/f");
        EXPECT_EQ(provider_->doListAllRecursiveNamesOnly(at(u"/")).size(), std::size_t{greatDepth} + 1);
        EXPECT_EQ(provider_->doListAllRecursiveNamesOnlyWildcards(at(u"/"), u"f"),
                  Names{deepest.substr(1) + u"/f"});
        provider_->doRemoveFolderRecursively(at(u"/d"));
    });
    EXPECT_THAT(namesIn(u"/"), testing::IsEmpty());
}

} // namespace

} // namespace storage::tests
