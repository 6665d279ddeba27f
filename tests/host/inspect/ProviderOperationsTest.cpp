#include "host/inspect/ProviderOperations.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/MockProvider.h"

#include <cstring>
#include <gmock/gmock.h>
#include <map>

namespace {

using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;
using storage::host::ownOperations;
using storage::host::providerOperations;

using Names = std::vector<std::string>;

Names namesOfOwn(const IProvider& provider) {
    Names names;
    const auto own = ownOperations(provider);
    for (std::size_t i = 0; i < own.size(); ++i) {
        if (own[i]) {
            names.emplace_back(providerOperations[i]);
        }
    }
    return names;
}

const Names required{"doCreateFile",        "doCreateFolder",
                     "doFileExists",        "doFolderExists",
                     "doRemoveFile",        "doMoveFile",
                     "doRemoveFolder",      "doMoveFolder",
                     "doGetFileAttributes", "doGetFolderAttributes",
                     "doOpenStream",        "doOpenReadOnlyStream",
                     "doListAll",           "doListFiles",
                     "doListFolders",       "doSetLastModified",
                     "doSetWritable",       "doHasFeature"};

class FirstAndLastDefault final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;
    void doCreateFolderRecursive(const StorageIRI&) const override {}
    void doTruncateToSize(const StorageIRI&, unsigned long long) const override {}
};

/// The interface is its second base.
struct Other {
    virtual ~Other() = default;
    virtual void something() {}
};
class SecondBase final : public Other, public HookedProvider {
public:
    SecondBase() : HookedProvider(nullptr) {}
};

/// Where the compiler has an operation among the functions of a class. Such a pointer holds one more than the distance.
template <class Operation>
std::size_t placeOf(Operation operation) {
    std::size_t distance = 0;
    std::memcpy(&distance, &operation, sizeof distance);
    return (distance - 1) / sizeof(void*) - 2; // behind the two destructors
}

TEST(ProviderOperationsTest, TheInMemoryProviderHasThoseThatEveryProviderMustHave) {
    EXPECT_EQ(namesOfOwn(*storage::inmemoryprovider::buildInMemoryProvider()), required);
}

TEST(ProviderOperationsTest, AnotherOneThatIsOverriddenIsTold) {
    Names names = required;
    names.emplace_back("doShutdown"); // the hooks' own
    names.emplace_back("doCreateFolderRecursive");
    names.emplace_back("doTruncateToSize");
    EXPECT_THAT(namesOfOwn(FirstAndLastDefault(nullptr)), testing::UnorderedElementsAreArray(names));
}

TEST(ProviderOperationsTest, AProviderMayHaveOtherBases) {
    EXPECT_EQ(namesOfOwn(SecondBase()), namesOfOwn(HookedProvider(nullptr)));
}

TEST(ProviderOperationsTest, AllMayBeOverridden) {
    EXPECT_EQ(namesOfOwn(testing::NiceMock<MockProvider>()).size(), providerOperations.size());
}

TEST(ProviderOperationsTest, EachNameStandsAtItsOperationsPlace) {
    const std::map<std::string, std::size_t> places{
        {"doCreateFile", placeOf(&IProvider::doCreateFile)},
        {"doCreateFolder", placeOf(&IProvider::doCreateFolder)},
        {"doCreateFolderRecursive", placeOf(&IProvider::doCreateFolderRecursive)},
        {"doFileExists", placeOf(&IProvider::doFileExists)},
        {"doFolderExists", placeOf(&IProvider::doFolderExists)},
        {"doRemoveFile", placeOf(&IProvider::doRemoveFile)},
        {"doMoveFile", placeOf(&IProvider::doMoveFile)},
        {"doRemoveFolder", placeOf(&IProvider::doRemoveFolder)},
        {"doRemoveFolderRecursively", placeOf(&IProvider::doRemoveFolderRecursively)},
        {"doMoveFolder", placeOf(&IProvider::doMoveFolder)},
        {"doGetFileAttributes", placeOf(&IProvider::doGetFileAttributes)},
        {"doGetFolderAttributes", placeOf(&IProvider::doGetFolderAttributes)},
        {"doOpenStream", placeOf(&IProvider::doOpenStream)},
        {"doOpenReadOnlyStream", placeOf(&IProvider::doOpenReadOnlyStream)},
        {"doOpenTransactionalStream", placeOf(&IProvider::doOpenTransactionalStream)},
        {"doOpenTransactionalStreamAtScratchLocation",
         placeOf(&IProvider::doOpenTransactionalStreamAtScratchLocation)},
        {"doListAll", placeOf(&IProvider::doListAll)},
        {"doListAllWildcards", placeOf(&IProvider::doListAllWildcards)},
        {"doListFiles", placeOf(&IProvider::doListFiles)},
        {"doListFilesWildcards", placeOf(&IProvider::doListFilesWildcards)},
        {"doListFolders", placeOf(&IProvider::doListFolders)},
        {"doListFoldersWildcards", placeOf(&IProvider::doListFoldersWildcards)},
        {"doListAllNamesOnly", placeOf(&IProvider::doListAllNamesOnly)},
        {"doListAllNamesOnlyWildcards", placeOf(&IProvider::doListAllNamesOnlyWildcards)},
        {"doListFoldersNamesOnly", placeOf(&IProvider::doListFoldersNamesOnly)},
        {"doListFoldersNamesOnlyWildcards", placeOf(&IProvider::doListFoldersNamesOnlyWildcards)},
        {"doListFilesNamesOnly", placeOf(&IProvider::doListFilesNamesOnly)},
        {"doListFilesNamesOnlyWildcards", placeOf(&IProvider::doListFilesNamesOnlyWildcards)},
        {"doListAllRecursive", placeOf(&IProvider::doListAllRecursive)},
        {"doListAllRecursiveWildcards", placeOf(&IProvider::doListAllRecursiveWildcards)},
        {"doListAllRecursiveNamesOnly", placeOf(&IProvider::doListAllRecursiveNamesOnly)},
        {"doListAllRecursiveNamesOnlyWildcards", placeOf(&IProvider::doListAllRecursiveNamesOnlyWildcards)},
        {"doCopyFile", placeOf(&IProvider::doCopyFile)},
        {"doCopyFileAtomic", placeOf(&IProvider::doCopyFileAtomic)},
        {"doSetLastModified", placeOf(&IProvider::doSetLastModified)},
        {"doSetWritable", placeOf(&IProvider::doSetWritable)},
        {"doPublishFolderEventsFor", placeOf(&IProvider::doPublishFolderEventsFor)},
        {"doPublishFileEventsFor", placeOf(&IProvider::doPublishFileEventsFor)},
        {"doStopPublishingEventsFor", placeOf(&IProvider::doStopPublishingEventsFor)},
        {"doStartChangePollingMechanism", placeOf(&IProvider::doStartChangePollingMechanism)},
        {"doStopChangePollingMechanism", placeOf(&IProvider::doStopChangePollingMechanism)},
        {"doHasFeature", placeOf(&IProvider::doHasFeature)},
        {"doGetPathComparator", placeOf(&IProvider::doGetPathComparator)},
        {"doGetCanonicalLocation", placeOf(&IProvider::doGetCanonicalLocation)},
        {"doGetFilenameSensitivity", placeOf(&IProvider::doGetFilenameSensitivity)},
        {"doShutdown", placeOf(&IProvider::doShutdown)},
        {"doExists", placeOf(&IProvider::doExists)},
        {"doExistsExtended", placeOf(&IProvider::doExistsExtended)},
        {"doGetExtendedAttributes", placeOf(&IProvider::doGetExtendedAttributes)},
        {"doGetProviderStorageInfo", placeOf(&IProvider::doGetProviderStorageInfo)},
        {"doTruncateToSize", placeOf(&IProvider::doTruncateToSize)},
    };
    EXPECT_EQ(places.size(), providerOperations.size());
    for (const auto& [name, place] : places) {
        ASSERT_LT(place, providerOperations.size());
        EXPECT_EQ(providerOperations[place], name);
    }
}

} // namespace
