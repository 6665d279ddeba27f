#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"
#include "tests/support/HookedProvider.h"

#include <functional>
#include <utility>
#include <vector>

namespace storage::tests {

using namespace provider;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// All listings on one tree: /d contains the files a.txt and b.doc, the empty folder e.txt and the folder
/// sub. sub contains the file c.txt and the folder deep.txt, which contains the file d.doc.
class IProviderListingTest : public ProviderTest {
protected:
    IProviderListingTest() {
        provider_->doCreateFolderRecursive(at(u"/d/sub/deep.txt"));
        makeFolder(u"/d/e.txt");
        for (const char16_t* path : {u"/d/b.doc", u"/d/a.txt", u"/d/sub/c.txt", u"/d/sub/deep.txt/d.doc"}) {
            makeFile(path);
        }
    }

    const StorageIRI iri_ = at(u"/d");
};

TEST_F(IProviderListingTest, YieldsEveryEntry) {
    EXPECT_THAT(read(provider_->doListAll(iri_)),
                ElementsAre(file(u"a.txt"), file(u"b.doc"), folder(u"e.txt"), folder(u"sub")));
}

TEST_F(IProviderListingTest, YieldsMatchingEntries) {
    EXPECT_THAT(read(provider_->doListAllWildcards(iri_, u"*.txt")),
                ElementsAre(file(u"a.txt"), folder(u"e.txt")));
}

TEST_F(IProviderListingTest, YieldsFiles) {
    EXPECT_THAT(read(provider_->doListFiles(iri_)), ElementsAre(file(u"a.txt"), file(u"b.doc")));
}

TEST_F(IProviderListingTest, YieldsMatchingFiles) {
    EXPECT_THAT(read(provider_->doListFilesWildcards(iri_, u"?.txt")), ElementsAre(file(u"a.txt")));
}

TEST_F(IProviderListingTest, YieldsFolders) {
    EXPECT_THAT(read(provider_->doListFolders(iri_)), ElementsAre(folder(u"e.txt"), folder(u"sub")));
}

TEST_F(IProviderListingTest, YieldsMatchingFolders) {
    EXPECT_THAT(read(provider_->doListFoldersWildcards(iri_, u"*.txt")), ElementsAre(folder(u"e.txt")));
}

TEST_F(IProviderListingTest, NamesEveryEntry) {
    EXPECT_THAT(provider_->doListAllNamesOnly(iri_), ElementsAre(u"a.txt", u"b.doc", u"e.txt", u"sub"));
}

TEST_F(IProviderListingTest, NamesMatchingEntries) {
    EXPECT_THAT(provider_->doListAllNamesOnlyWildcards(iri_, u"*b*"), ElementsAre(u"b.doc", u"sub"));
}

TEST_F(IProviderListingTest, NamesFolders) {
    EXPECT_THAT(provider_->doListFoldersNamesOnly(iri_), ElementsAre(u"e.txt", u"sub"));
}

TEST_F(IProviderListingTest, NamesMatchingFolders) {
    EXPECT_THAT(provider_->doListFoldersNamesOnlyWildcards(iri_, u"s??"), ElementsAre(u"sub"));
}

TEST_F(IProviderListingTest, NamesFiles) {
    EXPECT_THAT(provider_->doListFilesNamesOnly(iri_), ElementsAre(u"a.txt", u"b.doc"));
}

TEST_F(IProviderListingTest, NamesMatchingFiles) {
    EXPECT_THAT(provider_->doListFilesNamesOnlyWildcards(iri_, u"*.txt"), ElementsAre(u"a.txt"));
}

TEST_F(IProviderListingTest, YieldsEveryEntryBelowByItsRelativePath) {
    EXPECT_THAT(read(provider_->doListAllRecursive(iri_)),
                ElementsAre(file(u"a.txt"), file(u"b.doc"), folder(u"e.txt"), folder(u"sub"),
                            file(u"sub/c.txt"), folder(u"sub/deep.txt"), file(u"sub/deep.txt/d.doc")));
}

TEST_F(IProviderListingTest, YieldsEveryEntryBelowWithAMatchingName) {
    EXPECT_THAT(read(provider_->doListAllRecursiveWildcards(iri_, u"*.txt")),
                ElementsAre(file(u"a.txt"), folder(u"e.txt"), file(u"sub/c.txt"), folder(u"sub/deep.txt")));
}

TEST_F(IProviderListingTest, EntersFoldersThatDoNotMatchThemselves) {
    EXPECT_THAT(read(provider_->doListAllRecursiveWildcards(iri_, u"d.*")),
                ElementsAre(file(u"sub/deep.txt/d.doc")));
}

TEST_F(IProviderListingTest, DoesNotMatchAPatternAgainstARelativePath) {
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(iri_, u"sub*"), ElementsAre(u"sub"));
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(iri_, u"*/*"), IsEmpty());
}

TEST_F(IProviderListingTest, NamesEveryEntryBelowByItsRelativePath) {
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnly(iri_),
                ElementsAre(u"a.txt", u"b.doc", u"e.txt", u"sub", u"sub/c.txt", u"sub/deep.txt",
                            u"sub/deep.txt/d.doc"));
}

TEST_F(IProviderListingTest, NamesEveryEntryBelowWithAMatchingName) {
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(iri_, u"*.doc"),
                ElementsAre(u"b.doc", u"sub/deep.txt/d.doc"));
}

TEST_F(IProviderListingTest, ReturnsRelativePathsWithoutALeadingSeparatorBelowTheRoot) {
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(at(u"/"), u"?"), ElementsAre(u"d"));
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(at(u"/"), u"a*"), ElementsAre(u"d/a.txt"));
}

TEST_F(IProviderListingTest, AcceptsASeparatorAtTheEndOfTheLocation) {
    EXPECT_EQ(provider_->doListAllRecursiveNamesOnly(at(u"/d/")),
              provider_->doListAllRecursiveNamesOnly(iri_));
}

TEST_F(IProviderListingTest, FollowsTheResolvedPath) {
    EXPECT_EQ(provider_->doListAllRecursiveNamesOnly(StorageIRI(u"/d", u"/alias", true)),
              provider_->doListAllRecursiveNamesOnly(iri_));
}

/// All sixteen listings as functions of one type. The pattern of a wildcard listing matches every name.
std::vector<std::function<void(const IProvider&, const StorageIRI&)>> allListings() {
    return {
        [](const IProvider& p, const StorageIRI& iri) { p.doListAll(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFiles(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFilesWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFolders(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllNamesOnly(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllNamesOnlyWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersNamesOnly(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFoldersNamesOnlyWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFilesNamesOnly(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListFilesNamesOnlyWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursive(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveWildcards(iri, u"*"); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveNamesOnly(iri); },
        [](const IProvider& p, const StorageIRI& iri) { p.doListAllRecursiveNamesOnlyWildcards(iri, u"*"); },
    };
}

TEST_F(IProviderListingTest, NamesAFileOrAMissingFolder) {
    const StorageIRI missing(u"/missing", u"/alias", true);
    for (std::size_t i = 0; i < allListings().size(); ++i) {
        SCOPED_TRACE(i);
        const auto list = allListings()[i];
        EXPECT_THAT([&] { list(*provider_, missing); }, failsWith(ErrorCode::NotFound, missing));
        EXPECT_THAT([&] { list(*provider_, at(u"/d/a.txt")); },
                    failsWith(ErrorCode::NotFound, at(u"/d/a.txt")));
    }
}

TEST_F(IProviderListingTest, ReturnsNothingForAnEmptyFolder) {
    const StorageIRI empty = at(u"/d/e.txt");
    EXPECT_FALSE(provider_->doListAllWildcards(empty, u"*")->hasNext());
    EXPECT_FALSE(provider_->doListAllRecursive(empty)->hasNext());
    EXPECT_THAT(provider_->doListAllNamesOnly(empty), IsEmpty());
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnly(empty), IsEmpty());
}

TEST_F(IProviderListingTest, ReturnsNothingForAnEmptyPattern) {
    EXPECT_THAT(provider_->doListAllNamesOnlyWildcards(iri_, u""), IsEmpty());
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(iri_, u""), IsEmpty());
}

TEST_F(IProviderListingTest, IgnoresLaterChanges) {
    const auto matching = provider_->doListFilesWildcards(iri_, u"*.txt");
    const auto recursive = provider_->doListAllRecursive(at(u"/d/sub"));
    provider_->doRemoveFolderRecursively(iri_);
    EXPECT_TRUE(matching->hasNext());
    matching->step();
    EXPECT_EQ(matching->getEntry(), file(u"a.txt"));
    EXPECT_FALSE(matching->hasNext());
    recursive->step();
    EXPECT_EQ(recursive->getEntry(), file(u"c.txt"));
}

TEST_F(IProviderListingTest, OutlivesItsProvider) {
    auto listing = provider_->doListAllRecursive(at(u"/d/sub"));
    provider_.reset();
    EXPECT_THAT(read(std::move(listing)),
                ElementsAre(file(u"c.txt"), folder(u"deep.txt"), file(u"deep.txt/d.doc")));
}

TEST_F(IProviderListingTest, HasIndependentClonesAtTheSamePosition) {
    auto listing = provider_->doListAllWildcards(iri_, u"*");
    listing->step();
    auto clone = listing->clone();
    EXPECT_EQ(listing->getEntry(), file(u"a.txt"));
    EXPECT_THAT(read(std::move(listing)), ElementsAre(file(u"b.doc"), folder(u"e.txt"), folder(u"sub")));
    EXPECT_THAT(read(std::move(clone)), ElementsAre(file(u"b.doc"), folder(u"e.txt"), folder(u"sub")));
}

TEST_F(IProviderListingTest, ReturnsTheSameEntryUntilTheNextStep) {
    const auto listing = provider_->doListAllRecursive(iri_);
    listing->step();
    EXPECT_EQ(listing->getEntry(), file(u"a.txt"));
    EXPECT_TRUE(listing->hasNext());
    EXPECT_EQ(listing->getEntry(), file(u"a.txt"));
}

TEST_F(IProviderListingTest, TreatsAFolderThatIsRemovedMeanwhileAsEmpty) {
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "listAll" && iri == at(u"/d/sub")) {
            provider_->doRemoveFolderRecursively(iri);
        }
    });
    EXPECT_THAT(raced.doListAllRecursiveNamesOnly(iri_), ElementsAre(u"a.txt", u"b.doc", u"e.txt", u"sub"));
}

TEST_F(IProviderListingTest, PropagatesOtherFailuresOfAFolderBelow) {
    const StorageIRI sub = at(u"/d/sub");
    const HookedProvider failing(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "listAll" && iri == sub) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
    });
    EXPECT_THAT([&] { failing.doListAllRecursive(iri_); }, failsWith(ErrorCode::ReadOnly, sub));
}

TEST_F(IProviderListingTest, TerminatesOnAFolderWithAnEmptyName) {
    provider_->doCreateFolder(at(u"/d/e.txt//"));
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnly(at(u"/d/e.txt")), ElementsAre(u""));
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnlyWildcards(iri_, u""), ElementsAre(u"e.txt/"));
}

TEST_F(IProviderListingTest, ListsNamesThatAreNotValidUtf16) {
    const std::u16string name(1, char16_t{0xD800});
    makeFolder(u"/odd");
    makeFolder(u"/odd/" + name);
    makeFile(u"/odd/" + name + u"/f");
    EXPECT_THAT(provider_->doListAllRecursiveNamesOnly(at(u"/odd")), ElementsAre(name, name + u"/f"));
}

} // namespace

} // namespace storage::tests
