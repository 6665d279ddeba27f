#include "host/PluginLibrary.h"
#include "host/PluginError.h"
#include "tests/host/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using storage::host::PluginError;
using storage::host::PluginLibrary;
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
    first->doCreateFile(foundation::storage::provider::StorageIRI(u"/f"));
    EXPECT_FALSE(second->doFileExists(foundation::storage::provider::StorageIRI(u"/f")));
}

TEST(PluginLibraryTest, CanBeLoadedAgain) {
    for (int i = 0; i < 10; ++i) {
        const PluginLibrary library(TEST_PLUGIN);
        EXPECT_TRUE(library.buildProvider()->doFolderExists(foundation::storage::provider::StorageIRI(u"/")));
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
