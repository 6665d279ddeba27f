#include "hostapi/storage/provider/ListingRange.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::tests {

using namespace provider;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The folder /d holds the folder a and the files b and c.
class ListingRangeTest : public testing::Test {
protected:
    ListingRangeTest() {
        buildProvider_V1(&provider_);
        provider_->doCreateFolder(folder_);
        provider_->doCreateFolder(StorageIRI(u"/d/a"));
        provider_->doCreateFile(StorageIRI(u"/d/b"));
        provider_->doCreateFile(StorageIRI(u"/d/c"));
    }

    std::shared_ptr<IProvider> provider_;
    const StorageIRI folder_{u"/d"};
};

TEST_F(ListingRangeTest, YieldsEachEntryOnce) {
    std::vector<FolderEntry> entries;
    for (const FolderEntry& entry : list(*provider_, folder_)) {
        entries.push_back(entry);
    }
    EXPECT_THAT(entries, ElementsAre(FolderEntry(u"a", FolderEntry::EntryType::Folder),
                                     FolderEntry(u"b", FolderEntry::EntryType::File),
                                     FolderEntry(u"c", FolderEntry::EntryType::File)));
}

TEST_F(ListingRangeTest, YieldsNothingOfAnEmptyFolder) {
    for (const FolderEntry& entry : list(*provider_, StorageIRI(u"/d/a"))) {
        ADD_FAILURE() << entry.getName().size();
    }
}

TEST_F(ListingRangeTest, AcceptsAnyListing) {
    std::vector<std::u16string> names;
    for (const FolderEntry& entry : ListingRange(provider_->doListFilesWildcards(folder_, u"?"))) {
        names.push_back(entry.getName());
    }
    EXPECT_THAT(names, ElementsAre(u"b", u"c"));
}

TEST_F(ListingRangeTest, WorksWithAlgorithms) {
    ListingRange range = list(*provider_, folder_);
    const auto found = std::find_if(range.begin(), range.end(),
                                    [](const FolderEntry& entry) { return entry.getName() == u"b"; });
    ASSERT_TRUE(found != range.end());
    EXPECT_EQ(found->getType(), FolderEntry::EntryType::File);
}

TEST_F(ListingRangeTest, ContinuesFromItsPosition) {
    ListingRange range = list(*provider_, folder_);
    ListingRange::Iterator place = range.begin();
    place++;
    EXPECT_TRUE((*place).getName() == u"b");
    EXPECT_TRUE(range.begin()->getName() == u"c") << "a listing is read once";
    EXPECT_TRUE(range.begin() == range.end());
}

TEST_F(ListingRangeTest, PropagatesTheReasonForAMissingListing) {
    EXPECT_THROW(list(*provider_, StorageIRI(u"/missing")), Exception);
    EXPECT_THROW(ListingRange(nullptr), std::runtime_error);
}

TEST_F(ListingRangeTest, CanBeReadIntoAVector) {
    EXPECT_EQ(readEntries(provider_->doListAll(folder_)).size(), 3U);
    EXPECT_THAT(readEntries(provider_->doListAll(StorageIRI(u"/d/a"))), IsEmpty());
    EXPECT_THROW(readEntries(nullptr), std::runtime_error);
}

} // namespace

} // namespace storage::tests
