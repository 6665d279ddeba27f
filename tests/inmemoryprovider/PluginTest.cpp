#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace foundation::storage::provider;

constexpr const char* pluginPath = QZSTORAGE_PLUGIN_PATH;

/// The plug-in as a host loads it: none of its symbols become visible to others.
class LoadedPlugin {
public:
    LoadedPlugin() : handle_(dlopen(pluginPath, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;
    ~LoadedPlugin() { dlclose(handle_); }

    std::shared_ptr<IProvider> build() const {
        auto* entryPoint = reinterpret_cast<ProviderEntryPoint*>(dlsym(handle_, providerEntryPointName));
        std::shared_ptr<IProvider> provider;
        entryPoint(&provider);
        return provider;
    }

private:
    void* handle_;
};

bool pluginIsLoaded() {
    void* handle = dlopen(pluginPath, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

TEST(Plugin, isLoadedUsedAndUnloadedAgainAndAgain) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_FALSE(pluginIsLoaded());
        {
            const LoadedPlugin plugin;
            const auto provider = plugin.build();
            provider->doCreateFolder(StorageIRI(u"/a"));
            const auto stream = provider->doOpenStream(StorageIRI(u"/a/f"), {});
            stream->write("abc", 3);
            const auto listing = provider->doListAll(StorageIRI(u"/a"));
            EXPECT_TRUE(listing->clone()->hasNext());
            EXPECT_TRUE(pluginIsLoaded());
        }
        ASSERT_FALSE(pluginIsLoaded());
    }
}

TEST(Plugin, itsHostCatchesExceptionsByType) {
    const LoadedPlugin plugin;
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

TEST(Plugin, anExceptionOutlivesThePlugin) {
    std::exception_ptr kept;
    {
        const LoadedPlugin plugin;
        try {
            plugin.build()->doRemoveFile(StorageIRI(u"/missing"));
        } catch (const Exception& error) {
            kept = std::make_exception_ptr(error);
        }
    }
    ASSERT_FALSE(pluginIsLoaded());
    try {
        std::rethrow_exception(kept);
    } catch (const Exception& error) {
        EXPECT_STREQ(error.what(), "/missing: no such file or folder");
    }
}

TEST(Plugin, offersBothEntryPoints) {
    void* handle = dlopen(pluginPath, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(dlsym(handle, "_ZN7storage16inmemoryprovider21buildInMemoryProviderEv"), nullptr);
    EXPECT_NE(dlsym(handle, "buildProvider_V1"), nullptr);
    dlclose(handle);
}

TEST(Plugin, isLoadedAndUnloadedByThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                const LoadedPlugin plugin;
                const auto provider = plugin.build();
                provider->doCreateFile(StorageIRI(u"/f"));
                EXPECT_TRUE(provider->doFileExists(StorageIRI(u"/f")));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(pluginIsLoaded());
}

} // namespace
