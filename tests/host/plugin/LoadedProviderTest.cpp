#include "host/plugin/LoadedProvider.h"
#include "host/plugin/PluginLibrary.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/LoadedPlugin.h"
#include "tests/support/MockProvider.h"

#include <gmock/gmock.h>
#include <optional>

namespace storage::tests {

namespace {

using host::LoadedProvider;
using host::PluginLibrary;
using provider::Exception;
using provider::IProvider;
using provider::StorageIRI;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LoadedProviderTest, DestroysTheProviderBeforeItReleasesTheLibrary) {
    std::vector<std::string> destroyed;
    testing::NiceMock<MockProvider> provider;
    {
        LoadedProvider first(
            std::shared_ptr<void>(&destroyed, [&](void*) { destroyed.emplace_back("library"); }),
            std::shared_ptr<IProvider>(&provider, [&](IProvider*) { destroyed.emplace_back("provider"); }));
        const LoadedProvider second(std::move(first));
        EXPECT_EQ(&*second, &provider);
        EXPECT_THAT(destroyed, IsEmpty());
    }
    EXPECT_THAT(destroyed, ElementsAre("provider", "library"));
}

TEST(LoadedProviderTest, CallsThePluginDirectly) {
    testing::StrictMock<MockProvider> provider;
    const LoadedProvider loaded(nullptr, std::shared_ptr<IProvider>(std::shared_ptr<void>(), &provider));
    EXPECT_CALL(provider, doShutdown());
    loaded->doShutdown();
}

TEST(LoadedProviderTest, KeepsTheLibraryLoaded) {
    ASSERT_FALSE(pluginIsLoaded(TEST_PLUGIN));
    std::optional<LoadedProvider> provider(PluginLibrary(TEST_PLUGIN).buildProvider());
    const LoadedProvider other = PluginLibrary(TEST_PLUGIN).buildProvider();
    provider.reset();
    EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    EXPECT_TRUE(other->doFolderExists(StorageIRI(u"/")));
}

TEST(LoadedProviderTest, UnloadsTheLibraryWithTheLastProvider) {
    {
        const LoadedProvider provider = PluginLibrary(TEST_PLUGIN).buildProvider();
        EXPECT_TRUE(pluginIsLoaded(TEST_PLUGIN));
    }
    EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
}

TEST(LoadedProviderTest, UnloadsTheLibraryBeforeAHostExceptionIsHandled) {
    try {
        PluginLibrary(TEST_PLUGIN).buildProvider()->doRemoveFile(StorageIRI(u"/missing"));
        FAIL();
    } catch (const Exception& error) {
        EXPECT_FALSE(pluginIsLoaded(TEST_PLUGIN));
        EXPECT_STREQ(error.what(),
                     "/missing: not found: an entry of the required kind, or the folder that would hold it");
    }
}

} // namespace

} // namespace storage::tests
