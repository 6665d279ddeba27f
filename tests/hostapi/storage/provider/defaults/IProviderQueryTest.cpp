#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

namespace storage::tests {

using namespace provider;

namespace {

const boost::posix_time::ptime leapDay(boost::gregorian::date(2024, 2, 29),
                                       boost::posix_time::microseconds(123456));

class IProviderQueryTest : public ProviderTest {
protected:
    IProviderQueryTest() {
        makeFolder(u"/d");
        makeFile(u"/d/f", "12345");
    }
};

TEST_F(IProviderQueryTest, FindsFilesFoldersAndTheRoot) {
    EXPECT_TRUE(provider_->doExists(at(u"/d/f")));
    EXPECT_TRUE(provider_->doExists(at(u"/d")));
    EXPECT_TRUE(provider_->doExists(at(u"/")));
    EXPECT_FALSE(provider_->doExists(at(u"/d/missing")));
    EXPECT_FALSE(provider_->doExists(at(u"/missing/f")));
    EXPECT_FALSE(provider_->doExists(at(u"/d/f/below")));
}

TEST_F(IProviderQueryTest, ReportsTheKindOfEntryAtALocation) {
    EXPECT_EQ(provider_->doExistsExtended(at(u"/d/f")), EntryExistence::File);
    EXPECT_EQ(provider_->doExistsExtended(at(u"/d")), EntryExistence::Folder);
    EXPECT_EQ(provider_->doExistsExtended(at(u"/")), EntryExistence::Folder);
    EXPECT_EQ(provider_->doExistsExtended(at(u"/d/missing")), EntryExistence::Missing);
    EXPECT_EQ(provider_->doExistsExtended(at(u"/missing/f")), EntryExistence::Missing);
}

TEST_F(IProviderQueryTest, ReturnsTheAttributesOfAFile) {
    provider_->doSetLastModified(at(u"/d/f"), leapDay);
    const ExtendedAttributes writable = provider_->doGetExtendedAttributes(at(u"/d/f"));
    EXPECT_EQ(writable.type, FolderEntry::EntryType::File);
    EXPECT_EQ(writable.size, 5U);
    EXPECT_EQ(writable.lastModified, leapDay);
    EXPECT_TRUE(writable.writable);
    makeReadOnly(u"/d/f");
    EXPECT_FALSE(provider_->doGetExtendedAttributes(at(u"/d/f")).writable);
}

TEST_F(IProviderQueryTest, ReturnsTheAttributesOfAFolder) {
    provider_->doSetLastModified(at(u"/d"), leapDay);
    const ExtendedAttributes writable = provider_->doGetExtendedAttributes(at(u"/d"));
    EXPECT_EQ(writable.type, FolderEntry::EntryType::Folder);
    EXPECT_EQ(writable.size, 0U);
    EXPECT_EQ(writable.lastModified, leapDay);
    EXPECT_TRUE(writable.writable);
    makeReadOnly(u"/d");
    EXPECT_FALSE(provider_->doGetExtendedAttributes(at(u"/d")).writable);
}

TEST_F(IProviderQueryTest, ReturnsTheAttributesOfTheRoot) {
    provider_->doSetLastModified(at(u"/"), leapDay);
    const ExtendedAttributes root = provider_->doGetExtendedAttributes(at(u"/"));
    EXPECT_EQ(root.type, FolderEntry::EntryType::Folder);
    EXPECT_EQ(root.lastModified, leapDay);
}

TEST_F(IProviderQueryTest, HasNoAttributesOfAMissingEntryAndNamesIt) {
    const StorageIRI missing(u"/d/missing", u"/alias", true);
    EXPECT_THAT([&] { provider_->doGetExtendedAttributes(missing); },
                failsWith(ErrorCode::NotFound, missing));
}

TEST_F(IProviderQueryTest, SortsPathsByCodeUnits) {
    const auto isBefore = provider_->doGetPathComparator(at(u"/"));
    EXPECT_TRUE(isBefore(u"", u"/"));
    EXPECT_TRUE(isBefore(u"/a", u"/a-b"));
    EXPECT_TRUE(isBefore(u"/a-b", u"/a/b"));
    EXPECT_TRUE(isBefore(u"/a/b", u"/a0"));
    EXPECT_TRUE(isBefore(u"/B", u"/a"));
    EXPECT_TRUE(isBefore(u"/\U0001F600", u"/\uffee")) << "the units of a pair sort below";
    EXPECT_FALSE(isBefore(u"/a", u"/a"));
    EXPECT_FALSE(isBefore(u"/a0", u"/a"));
}

TEST_F(IProviderQueryTest, SortsPathsAfterTheProviderIsDestroyed) {
    const auto isBefore = provider_->doGetPathComparator(at(u"/"));
    provider_.reset();
    EXPECT_TRUE(isBefore(u"/a", u"/b"));
}

TEST_F(IProviderQueryTest, DerivesTheCanonicalLocationFromTheResolvedPath) {
    EXPECT_EQ(provider_->doGetCanonicalLocation(StorageIRI(u"/real/f", u"/alias/f", true)), at(u"/real/f"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(StorageIRI(u"/", u"/mounted", true)), at(u"/"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(StorageIRI(u"/mount", u"/mount", false)), at(u"/"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(at(u"/missing")), at(u"/missing"));
}

TEST_F(IProviderQueryTest, NormalizesTheCanonicalLocation) {
    for (const std::u16string path : {u"/a/b", u"//a/b", u"/a/b/", u"///a/b/"}) {
        EXPECT_EQ(provider_->doGetCanonicalLocation(at(path)), at(u"/a/b"));
    }
    EXPECT_EQ(provider_->doGetCanonicalLocation(at(u"//a//b/")), at(u"/a//b"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(at(u"a/b/")), at(u"a/b"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(StorageIRI(u"//", u"/mounted", true)), at(u"/"));
}

TEST_F(IProviderQueryTest, KeepsAnEmptyNameInACanonicalLocation) {
    provider_->doCreateFolder(at(u"/d//"));
    const StorageIRI canonical = provider_->doGetCanonicalLocation(at(u"//d//"));
    EXPECT_EQ(canonical, at(u"/d//"));
    EXPECT_EQ(provider_->doGetCanonicalLocation(canonical), canonical);
    provider_->doRemoveFolder(canonical);
    EXPECT_THAT(namesIn(u"/d"), testing::ElementsAre(u"f"));
}

TEST_F(IProviderQueryTest, IsCaseSensitive) {
    EXPECT_EQ(provider_->doGetFilenameSensitivity(at(u"/")), FilenameSensitivity::CaseSensitive);
    makeFile(u"/d/F");
    EXPECT_THAT(namesIn(u"/d"), testing::ElementsAre(u"F", u"f"));
}

TEST_F(IProviderQueryTest, KeepsTheStorageAtShutdown) {
    provider_->doShutdown();
    EXPECT_EQ(contentOf(u"/d/f"), "12345");
}

} // namespace

} // namespace storage::tests
