#include "host/PluginLibrary.h"
#include "host/PluginError.h"
#include "tests/host/TemporaryFolder.h"

#include <gmock/gmock.h>

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
    EXPECT_THAT(errorFor(folder.path()), MatchesRegex(".*: cannot be loaded as a plug-in: .*"));
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
