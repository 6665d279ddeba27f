#include "host/plugin/PluginLibrary.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/LoadedPlugin.h"

#include <gtest/gtest.h>
#include <optional>

namespace storage::tests {

namespace {

using host::LoadedProvider;
using host::PluginLibrary;
using provider::StorageIRI;

TEST(PluginLibraryTest, BuildsIndependentProviders) {
    const PluginLibrary library(TEST_PLUGIN);
    const auto first = library.buildProvider();
    const auto second = library.buildProvider();
    first->doCreateFile(StorageIRI(u"/f"));
    EXPECT_FALSE(second->doFileExists(StorageIRI(u"/f")));
}

TEST(PluginLibraryTest, CanBeLoadedAgain) {
    for (int i = 0; i < 10; ++i) {
        const PluginLibrary library(TEST_PLUGIN);
        EXPECT_TRUE(library.buildProvider()->doFolderExists(StorageIRI(u"/")));
    }
}

TEST(PluginLibraryTest, IsUnloadedWithoutAProvider) {
    ASSERT_FALSE(pluginIsLoaded(TEST_PLUGIN));
    {
        const PluginLibrary library(TEST_PLUGIN);
        EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    }
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
}

TEST(PluginLibraryTest, KeepsStreamsAndListingsUsableWithoutTheirProvider) {
    const PluginLibrary library(TEST_PLUGIN);
    std::optional<LoadedProvider> provider(library.buildProvider());
    (*provider)->doCreateFolder(StorageIRI(u"/b"));
    const auto stream = (*provider)->doOpenStream(StorageIRI(u"/f"), {});
    const auto listing = (*provider)->doListFolders(StorageIRI(u"/"));
    const auto comparator = (*provider)->doGetPathComparator(StorageIRI(u"/"));
    provider.reset();
    EXPECT_EQ(stream->write("abc", 3), 3);
    EXPECT_EQ(stream->seek(1, std::ios_base::beg), 1);
    const auto clone = listing->clone();
    clone->step();
    EXPECT_EQ(clone->getEntry().getName(), u"b");
    EXPECT_TRUE(comparator(u"/a", u"/b"));
}

} // namespace

} // namespace storage::tests
