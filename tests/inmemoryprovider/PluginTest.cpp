#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/LoadedPlugin.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace storage::tests {

namespace {

using namespace provider;

constexpr const char* pluginPath = QZSTORAGE_PLUGIN_PATH;

TEST(PluginTest, CanBeLoadedAndUnloadedRepeatedly) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_FALSE(pluginIsLoaded(pluginPath));
        {
            const LoadedPlugin plugin(pluginPath);
            const auto provider = plugin.build();
            provider->doCreateFolder(StorageIRI(u"/a"));
            const auto stream = provider->doOpenStream(StorageIRI(u"/a/f"), {});
            stream->write("abc", 3);
            const auto listing = provider->doListAll(StorageIRI(u"/a"));
            EXPECT_TRUE(listing->clone()->hasNext());
            EXPECT_TRUE(pluginIsLoaded(pluginPath));
        }
        ASSERT_FALSE(pluginIsLoaded(pluginPath));
    }
}

TEST(PluginTest, ThrowsExceptionsThatTheHostCatchesByType) {
    const LoadedPlugin plugin(pluginPath);
    const auto provider = plugin.build();
    try {
        provider->doRemoveFile(StorageIRI(u"/missing"));
        FAIL() << "nothing was thrown";
    } catch (const Exception& error) {
        EXPECT_EQ(error.getErrorCode(), ErrorCode::NotFound);
        EXPECT_EQ(error.getIRI(), StorageIRI(u"/missing"));
    }
    EXPECT_THROW(provider->doListAll(StorageIRI(u"/missing")), Exception);
    EXPECT_THROW(provider->doRemoveFile(StorageIRI(u"/missing")), std::exception);
}

TEST(PluginTest, ThrowsExceptionsThatOutliveIt) {
    std::exception_ptr kept;
    {
        const LoadedPlugin plugin(pluginPath);
        try {
            plugin.build()->doRemoveFile(StorageIRI(u"/missing"));
        } catch (const Exception& error) {
            kept = std::make_exception_ptr(error);
        }
    }
    ASSERT_FALSE(pluginIsLoaded(pluginPath));
    try {
        std::rethrow_exception(kept);
    } catch (const Exception& error) {
        EXPECT_STREQ(error.what(),
                     "/missing: not found: an entry of the required kind, or the folder that would hold it");
    }
}

TEST(PluginTest, OffersBothEntryPoints) {
    void* handle = dlopen(pluginPath, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(dlsym(handle, "_ZN7storage16inmemoryprovider21buildInMemoryProviderEv"), nullptr);
    EXPECT_NE(dlsym(handle, "buildProvider_V1"), nullptr);
    dlclose(handle);
}

TEST(PluginTest, CanBeLoadedAndUnloadedConcurrently) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                const LoadedPlugin plugin(pluginPath);
                const auto provider = plugin.build();
                provider->doCreateFile(StorageIRI(u"/f"));
                EXPECT_TRUE(provider->doFileExists(StorageIRI(u"/f")));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(pluginIsLoaded(pluginPath));
}

} // namespace

} // namespace storage::tests
