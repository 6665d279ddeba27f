#include "host/inspect/OwnOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/OperationProbe.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::ownOperations;
using provider::IProvider;
using provider::ProviderOperation;
using provider::providerOperations;
using provider::StorageIRI;

using Names = std::vector<std::string>;

Names namesOfOwn(const IProvider& provider) {
    Names names;
    const auto own = ownOperations(provider);
    for (std::size_t i = 0; i < own.size(); ++i) {
        if (own[i]) {
            names.emplace_back(providerOperations[i].name);
        }
    }
    return names;
}

Names required() {
    Names names;
    for (const auto& [name, kind] : providerOperations) {
        if (kind == ProviderOperation::Kind::Required) {
            names.emplace_back(name);
        }
    }
    return names;
}

class FirstAndLastDefault final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;
    void doCreateFolderRecursive(const StorageIRI&) const override {}
    void doTruncateToSize(const StorageIRI&, unsigned long long) const override {}
};

/// Makes the interface the second base.
struct Other {
    virtual ~Other() = default;
    virtual void something() {}
};
class SecondBase final : public Other, public HookedProvider {
public:
    SecondBase() : HookedProvider(nullptr) {}
};

TEST(OwnOperationsTest, FindsTheRequiredOperationsOfTheInMemoryProvider) {
    EXPECT_EQ(namesOfOwn(*inmemoryprovider::buildInMemoryProvider()), required());
}

TEST(OwnOperationsTest, FindsAnOverriddenDefault) {
    Names names = required();
    names.emplace_back("doShutdown"); // an operation of the hooks themselves
    names.emplace_back("doCreateFolderRecursive");
    names.emplace_back("doTruncateToSize");
    EXPECT_THAT(namesOfOwn(FirstAndLastDefault(nullptr)), testing::UnorderedElementsAreArray(names));
}

TEST(OwnOperationsTest, AcceptsAProviderWithOtherBases) {
    EXPECT_EQ(namesOfOwn(SecondBase()), namesOfOwn(HookedProvider(nullptr)));
}

TEST(OwnOperationsTest, FindsAllOperationsIfAllAreOverridden) {
    EXPECT_EQ(namesOfOwn(OperationProbe::provider()).size(), providerOperations.size());
}

} // namespace

} // namespace storage::tests
