#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"
#include "tests/support/HookedProvider.h"

#include <new>
#include <string>

namespace storage::tests {

using namespace provider;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Ignores empty names in the locations of listings: such a location is the folder itself.
class EmptyNamesIgnored : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    Listing doListAll(const StorageIRI& iri) const override {
        std::u16string path = iri.getResolvedPath();
        path.resize(path.find_last_not_of(u'/') + 1);
        return HookedProvider::doListAll(StorageIRI(path));
    }
};

using IProviderCreateFolderRecursiveTest = ProviderTest;

TEST_F(IProviderCreateFolderRecursiveTest, CreatesTheFolderAndEveryMissingParent) {
    makeFolder(u"/a");
    provider_->doCreateFolderRecursive(at(u"/a/b/c"));
    EXPECT_THAT(namesIn(u"/a"), ElementsAre(u"b"));
    EXPECT_THAT(namesIn(u"/a/b"), ElementsAre(u"c"));
    EXPECT_THAT(namesIn(u"/a/b/c"), IsEmpty());
}

TEST_F(IProviderCreateFolderRecursiveTest, KeepsAnExistingFolder) {
    makeFolder(u"/a");
    makeFile(u"/a/f");
    provider_->doCreateFolderRecursive(at(u"/a"));
    EXPECT_THAT(namesIn(u"/a"), ElementsAre(u"f"));
}

TEST_F(IProviderCreateFolderRecursiveTest, AcceptsTheRoot) {
    EXPECT_NO_THROW(provider_->doCreateFolderRecursive(at(u"/")));
    EXPECT_NO_THROW(provider_->doCreateFolderRecursive(at(u"")));
    EXPECT_NO_THROW(provider_->doCreateFolderRecursive(StorageIRI(u"/mounted/here", u"/", false)));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderCreateFolderRecursiveTest, AcceptsASeparatorAtTheEnd) {
    provider_->doCreateFolderRecursive(at(u"/a/b/"));
    EXPECT_THAT(namesIn(u"/a"), ElementsAre(u"b"));
}

TEST_F(IProviderCreateFolderRecursiveTest, TreatsRepeatedSeparatorsAsTheProviderDoes) {
    provider_->doCreateFolderRecursive(at(u"//a//b"));
    EXPECT_TRUE(provider_->doFolderExists(at(u"/a")));
    EXPECT_TRUE(provider_->doFolderExists(at(u"//a//b")));
}

TEST_F(IProviderCreateFolderRecursiveTest, NamesAFileOnThePath) {
    makeFolder(u"/a");
    makeFile(u"/a/f", "x");
    EXPECT_THAT([&] { provider_->doCreateFolderRecursive(at(u"/a/f/b/c")); },
                failsWith(ErrorCode::AlreadyExists, at(u"/a/f")));
    EXPECT_THAT([&] { provider_->doCreateFolderRecursive(at(u"/a/f")); },
                failsWith(ErrorCode::AlreadyExists, at(u"/a/f")));
    EXPECT_EQ(contentOf(u"/a/f"), "x");
}

TEST_F(IProviderCreateFolderRecursiveTest, NamesTheFolderThatCannotBeCreatedInAReadOnlyFolder) {
    makeFolder(u"/a");
    makeReadOnly(u"/a");
    EXPECT_THAT([&] { provider_->doCreateFolderRecursive(at(u"/a/b/c")); },
                failsWith(ErrorCode::ReadOnly, at(u"/a/b")));
    EXPECT_NO_THROW(provider_->doCreateFolderRecursive(at(u"/a")));
}

TEST_F(IProviderCreateFolderRecursiveTest, FollowsTheResolvedPathAndNamesTheCallersLocation) {
    const StorageIRI iri(u"/real/b", u"/alias/b", true);
    provider_->doCreateFolderRecursive(iri);
    EXPECT_TRUE(provider_->doFolderExists(at(u"/real/b")));
    provider_->doRemoveFolder(at(u"/real/b"));
    makeFile(u"/real/b");
    EXPECT_THAT([&] { provider_->doCreateFolderRecursive(iri); }, failsWith(ErrorCode::AlreadyExists, iri));
}

TEST_F(IProviderCreateFolderRecursiveTest, SucceedsWhenAnotherThreadCreatesTheFolderMeanwhile) {
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFolder") {
            provider_->doCreateFolder(iri);
        }
    });
    raced.doCreateFolderRecursive(at(u"/a/b"));
    EXPECT_TRUE(provider_->doFolderExists(at(u"/a/b")));
}

TEST_F(IProviderCreateFolderRecursiveTest, NamesAFileThatAnotherThreadCreatesMeanwhile) {
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFolder") {
            provider_->doCreateFile(iri);
        }
    });
    EXPECT_THAT([&] { raced.doCreateFolderRecursive(at(u"/a/b")); },
                failsWith(ErrorCode::AlreadyExists, at(u"/a")));
}

using IProviderRemoveFolderRecursivelyTest = ProviderTest;

TEST_F(IProviderRemoveFolderRecursivelyTest, RemovesTheFolderAndEverythingBelow) {
    provider_->doCreateFolderRecursive(at(u"/a/b/c"));
    makeFolder(u"/a/empty");
    makeFile(u"/a/f");
    makeFile(u"/a/b/f");
    makeFile(u"/a/b/c/f");
    makeFolder(u"/a-b");
    makeFile(u"/a0");
    provider_->doRemoveFolderRecursively(at(u"/a"));
    EXPECT_THAT(namesIn(u"/"), ElementsAre(u"a-b", u"a0"));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, RemovesAnEmptyFolder) {
    makeFolder(u"/a");
    provider_->doRemoveFolderRecursively(at(u"/a"));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, RemovesOnlyTheContentOfTheRoot) {
    provider_->doCreateFolderRecursive(at(u"/a/b"));
    makeFile(u"/f");
    provider_->doRemoveFolderRecursively(at(u"/"));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, RecognizesTheRootByResolvedPathAndMissingParent) {
    EXPECT_NO_THROW(provider_->doRemoveFolderRecursively(StorageIRI(u"/", u"/mounted", true)));
    makeFolder(u"/top");
    makeFile(u"/top/f");
    provider_->doRemoveFolderRecursively(StorageIRI(u"/top", u"/", false));
    EXPECT_THAT(namesIn(u"/"), ElementsAre(u"top"));
    EXPECT_THAT(namesIn(u"/top"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, NamesAMissingFolderOrAFile) {
    makeFile(u"/f");
    EXPECT_THAT([&] { provider_->doRemoveFolderRecursively(at(u"/missing")); },
                failsWith(ErrorCode::NotFound, at(u"/missing")));
    EXPECT_THAT([&] { provider_->doRemoveFolderRecursively(at(u"/f")); },
                failsWith(ErrorCode::NotFound, at(u"/f")));
    EXPECT_TRUE(provider_->doFileExists(at(u"/f")));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, StopsAtAnEntryThatCannotBeRemovedAndNamesIt) {
    provider_->doCreateFolderRecursive(at(u"/a/b"));
    makeFile(u"/a/b/1");
    makeFile(u"/a/b/2");
    makeFile(u"/a/b/3");
    makeReadOnly(u"/a/b/2");
    EXPECT_THAT([&] { provider_->doRemoveFolderRecursively(at(u"/a")); },
                failsWith(ErrorCode::ReadOnly, at(u"/a/b/2")));
    EXPECT_THAT(namesIn(u"/a/b"), ElementsAre(u"2", u"3"));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, NamesAReadOnlyFolderBelowOnceItIsEmpty) {
    provider_->doCreateFolderRecursive(at(u"/a/b"));
    makeReadOnly(u"/a/b");
    EXPECT_THAT([&] { provider_->doRemoveFolderRecursively(at(u"/a")); },
                failsWith(ErrorCode::ReadOnly, at(u"/a/b")));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, NamesTheCallersLocationWhenTheFolderItselfStays) {
    const StorageIRI iri(u"/a", u"/alias", true);
    makeFolder(u"/a");
    makeReadOnly(u"/a");
    EXPECT_THAT([&] { provider_->doRemoveFolderRecursively(iri); }, failsWith(ErrorCode::ReadOnly, iri));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, ContinuesWhenAnotherThreadHasRemovedAnEntry) {
    provider_->doCreateFolderRecursive(at(u"/a/b"));
    makeFile(u"/a/b/f");
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "removeFile") {
            provider_->doRemoveFile(iri);
        } else if (operation == "removeFolder" && iri == at(u"/a/b")) {
            provider_->doRemoveFolder(iri);
        }
    });
    raced.doRemoveFolderRecursively(at(u"/a"));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, NamesAFolderThatAnotherThreadFills) {
    provider_->doCreateFolderRecursive(at(u"/a/b"));
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "removeFolder" && iri == at(u"/a/b")) {
            makeFile(u"/a/b/new");
        }
    });
    EXPECT_THAT([&] { raced.doRemoveFolderRecursively(at(u"/a")); },
                failsWith(ErrorCode::FolderNotEmpty, at(u"/a/b")));
    EXPECT_THAT(namesIn(u"/a/b"), ElementsAre(u"new"));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, RemovesFoldersAndFilesWithoutAName) {
    makeFolder(u"/a");
    makeFolder(u"/a//");
    makeFile(u"/a///f");
    makeFolder(u"/a/b");
    makeFile(u"/a/b//");
    ASSERT_THAT(namesIn(u"/a//"), ElementsAre(u"f"));
    ASSERT_THAT(namesIn(u"/a"), ElementsAre(u"", u"b"));
    ASSERT_THAT(namesIn(u"/a/b"), ElementsAre(u""));
    provider_->doRemoveFolderRecursively(at(u"/a"));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, TerminatesIfAnEmptyNameIsTheFolderItself) {
    makeFolder(u"/a");
    makeFolder(u"/a//");
    makeFile(u"/a///f");
    const EmptyNamesIgnored provider(provider_);
    EXPECT_THAT([&] { provider.doRemoveFolderRecursively(at(u"/a")); },
                failsWith(ErrorCode::FolderNotEmpty, at(u"/a//")));
}

TEST_F(IProviderRemoveFolderRecursivelyTest, RecognizesTheRootByAPathWithoutAName) {
    makeFile(u"/f");
    EXPECT_THROW(provider_->doRemoveFolderRecursively(StorageIRI(u"", u"/mounted", true)), Exception);
    EXPECT_NO_THROW(provider_->doRemoveFolderRecursively(StorageIRI(u"//", u"/mounted", true)));
    EXPECT_THAT(namesIn(u"/"), IsEmpty());
}

TEST_F(IProviderRemoveFolderRecursivelyTest, PropagatesOtherExceptions) {
    makeFolder(u"/a");
    makeFile(u"/a/f");
    const HookedProvider failing(provider_, [&](const std::string& operation, const StorageIRI&) {
        if (operation == "removeFile") {
            throw std::bad_alloc();
        }
    });
    EXPECT_THROW(failing.doRemoveFolderRecursively(at(u"/a")), std::bad_alloc);
}

} // namespace

} // namespace storage::tests
