#include "host/plugin/PluginLibrary.h"
#include "tests/support/LoadedPlugin.h"

#include <gtest/gtest.h>

namespace {

using foundation::storage::provider::Exception;
using foundation::storage::provider::StorageIRI;
using storage::host::PluginLibrary;
using storage::tests::pluginIsLoaded;

TEST(PluginLibraryTest, BuildsProvidersOfTheirOwn) {
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

TEST(PluginLibraryTest, StaysLoadedForItsProviders) {
    auto provider = PluginLibrary(TEST_PLUGIN).buildProvider();
    const auto other = PluginLibrary(TEST_PLUGIN).buildProvider();
    provider.reset();
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    EXPECT_TRUE(other->doFolderExists(StorageIRI(u"/")));
}

TEST(PluginLibraryTest, StaysLoadedForAStream) {
    auto stream = PluginLibrary(TEST_PLUGIN).buildProvider()->doOpenStream(StorageIRI(u"/f"), {});
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    EXPECT_EQ(stream->write("abc", 3), 3);
    EXPECT_EQ(stream->seek(1, std::ios_base::beg), 1);
    stream->flush();
    std::string bytes(2, ' ');
    EXPECT_EQ(stream->read(bytes.data(), 2), 2);
    EXPECT_EQ(bytes, "bc");
    stream.reset();
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
}

TEST(PluginLibraryTest, StaysLoadedForAListingAndItsClones) {
    auto provider = PluginLibrary(TEST_PLUGIN).buildProvider();
    provider->doCreateFile(StorageIRI(u"/a"));
    provider->doCreateFolder(StorageIRI(u"/b"));
    auto listing = provider->doListAll(StorageIRI(u"/"));
    provider.reset();
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    listing->step();
    EXPECT_EQ(listing->getEntry().getName(), u"a");
    auto clone = listing->clone();
    listing.reset();
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    clone->step();
    EXPECT_EQ(clone->getEntry().getName(), u"b");
    EXPECT_FALSE(clone->hasNext());
    clone.reset();
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
}

TEST(PluginLibraryTest, StaysLoadedForAPathComparator) {
    auto comparator = PluginLibrary(TEST_PLUGIN).buildProvider()->doGetPathComparator(StorageIRI(u"/"));
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    EXPECT_TRUE(comparator(u"/a", u"/b"));
    EXPECT_FALSE(comparator(u"/b", u"/a"));
    comparator = nullptr;
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
}

TEST(PluginLibraryTest, IsUnloadedBeforeAHostExceptionGoes) {
    std::exception_ptr kept;
    try {
        PluginLibrary(TEST_PLUGIN).buildProvider()->doRemoveFile(StorageIRI(u"/missing"));
    } catch (...) {
        kept = std::current_exception();
    }
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
    try {
        std::rethrow_exception(kept);
    } catch (const Exception& error) {
        EXPECT_STREQ(error.what(), "/missing: no such file or folder");
    }
}

} // namespace
