#include "inmemoryprovider/PluginEntry.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace storage::inmemoryprovider::plugin_entry_test {
namespace {

using provider::IProvider;
using provider::StorageIRI;

TEST(PluginEntryTest, InstallsAnEmptyProvider) {
    std::shared_ptr<IProvider> provider;
    buildProvider_V1(&provider);
    ASSERT_NE(provider, nullptr);
    EXPECT_TRUE(provider->doFolderExists(StorageIRI(u"/")));
    EXPECT_FALSE(provider->doListAll(StorageIRI(u"/"))->hasNext());
    EXPECT_EQ(provider.use_count(), 1);
}

TEST(PluginEntryTest, DestroysTheReplacedProviderUnlessItIsShared) {
    std::shared_ptr<IProvider> provider;
    buildProvider_V1(&provider);
    provider->doCreateFile(StorageIRI(u"/f"));
    const std::weak_ptr<IProvider> first = provider;
    buildProvider_V1(&provider);
    EXPECT_TRUE(first.expired());
    EXPECT_FALSE(provider->doFileExists(StorageIRI(u"/f")));

    const auto second = provider;
    buildProvider_V1(&provider);
    EXPECT_NE(provider, second);
    EXPECT_TRUE(second->doFolderExists(StorageIRI(u"/")));
}

TEST(PluginEntryTest, BuildsProvidersWithSeparateTrees) {
    std::shared_ptr<IProvider> one;
    std::shared_ptr<IProvider> two;
    buildProvider_V1(&one);
    buildProvider_V1(&two);
    one->doCreateFile(StorageIRI(u"/f"));
    EXPECT_FALSE(two->doFileExists(StorageIRI(u"/f")));
}

TEST(PluginEntryTest, RefusesANullPointer) {
    EXPECT_THROW(buildProvider_V1(nullptr), std::invalid_argument);
}

TEST(PluginEntryTest, BuildsProvidersForHostsInCpp) {
    const std::shared_ptr<InMemoryProvider> one = buildInMemoryProvider();
    const std::shared_ptr<IProvider> two = buildInMemoryProvider();
    one->doCreateFile(StorageIRI(u"/f"));
    EXPECT_TRUE(one->doFileExists(StorageIRI(u"/f")));
    EXPECT_FALSE(two->doFileExists(StorageIRI(u"/f")));
}

} // namespace
} // namespace storage::inmemoryprovider::plugin_entry_test
