#include "host/PluginLibrary.h"
#include "host/PluginError.h"
#include "tests/host/TemporaryFolder.h"
#include "tests/support/LoadedPlugin.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using foundation::storage::provider::Exception;
using foundation::storage::provider::StorageIRI;
using storage::host::PluginError;
using storage::host::PluginLibrary;
using storage::tests::pluginIsLoaded;
using testing::MatchesRegex;

const std::string badPlugins = TEST_BAD_PLUGINS;

std::string errorFor(const std::string& path) {
    try {
        const PluginLibrary library(path);
        const auto provider = library.buildProvider();
    } catch (const PluginError& error) {
        return error.what();
    }
    return "no error";
}

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

TEST(PluginLibraryTest, NamesAMissingFile) {
    EXPECT_EQ(errorFor("/nowhere/plugin.so"), "/nowhere/plugin.so: No such file or directory");
    EXPECT_EQ(errorFor(""), ": No such file or directory");
}

TEST(PluginLibraryTest, RefusesAFileThatIsNoLibrary) {
    const TemporaryFolder folder;
    const std::string path = folder.write("plugin.so", "just text");
    EXPECT_EQ(errorFor(path), path + ": cannot be loaded as a plug-in: file too short");
    folder.write("plugin.so", std::string(10000, 'x'));
    EXPECT_EQ(errorFor(path), path + ": cannot be loaded as a plug-in: invalid ELF header");
}

TEST(PluginLibraryTest, RefusesWhatIsNoFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorFor(folder.path()), folder.path() + ": not a regular file");
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(errorFor(fifo), fifo + ": not a regular file");
}

TEST(PluginLibraryTest, RefusesALibraryThatIsCutShort) {
    const TemporaryFolder folder;
    const std::string whole = readFile(TEST_PLUGIN);
    for (const std::size_t length : {std::size_t{2000}, std::size_t{100}, std::size_t{64}}) {
        const std::string path = folder.write("plugin.so", whole.substr(0, length));
        EXPECT_EQ(errorFor(path), path + ": cannot be loaded as a plug-in: the file is cut short") << length;
    }
}

TEST(PluginLibraryTest, RefusesALibraryWithoutEntryPoint) {
    EXPECT_EQ(errorFor(badPlugins + "/libNoEntryPoint.so"),
              badPlugins + "/libNoEntryPoint.so: not a storage-provider plug-in: it has no buildProvider_V1");
}

TEST(PluginLibraryTest, TellsWhyAnEntryPointThrew) {
    EXPECT_EQ(errorFor(badPlugins + "/libThrowingEntryPoint.so"),
              badPlugins + "/libThrowingEntryPoint.so: the plug-in gave no provider: no licence\\nfound");
}

TEST(PluginLibraryTest, RefusesAnEmptyPointer) {
    EXPECT_EQ(errorFor(badPlugins + "/libEmptyProvider.so"),
              badPlugins + "/libEmptyProvider.so: the plug-in gave no provider");
}

} // namespace
