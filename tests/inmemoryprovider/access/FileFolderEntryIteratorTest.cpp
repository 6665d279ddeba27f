#include "inmemoryprovider/access/FileFolderEntryIterator.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/access/is_file_or_folder_predicate.h"
#include "inmemoryprovider/access/is_file_predicate.h"
#include "inmemoryprovider/access/is_folder_predicate.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider::file_folder_entry_iterator_test {
namespace {

using provider::FolderEntry;
using provider::IFolderEntryIterator;

using Snapshot = InMemoryFolderEntry::LightWeightRepresentation;
using All = FileFolderEntryIterator<is_file_or_folder_predicate>;
using Files = FileFolderEntryIterator<is_file_predicate>;
using Folders = FileFolderEntryIterator<is_folder_predicate>;

constexpr auto aFile = FolderEntry::EntryType::File;
constexpr auto aFolder = FolderEntry::EntryType::Folder;

Snapshot snapshot(const std::vector<std::pair<std::u16string, FolderEntry::EntryType>>& children) {
    Snapshot result;
    for (const auto& [name, type] : children) {
        result.try_emplace(InMemoryEntryPath(u"/f/" + name), name, type == aFolder);
    }
    return result;
}

std::vector<FolderEntry> rest(IFolderEntryIterator& iterator) {
    std::vector<FolderEntry> entries;
    while (iterator.hasNext()) {
        iterator.step();
        entries.push_back(iterator.getEntry());
    }
    return entries;
}

template <class Listing>
std::vector<FolderEntry> list(const Snapshot& children) {
    Listing listing(children);
    return rest(listing);
}

TEST(FileFolderEntryIteratorTest, IsEmptyForAnEmptyFolder) {
    EXPECT_FALSE(All(Snapshot()).hasNext());
    EXPECT_FALSE(Files(Snapshot()).hasNext());
    EXPECT_FALSE(Folders(Snapshot()).hasNext());
}

TEST(FileFolderEntryIteratorTest, IsEmptyForAFolderOfTheOtherKindOnly) {
    const auto folders = snapshot({{u"a", aFolder}, {u"b", aFolder}});
    const auto files = snapshot({{u"a", aFile}, {u"b", aFile}});
    EXPECT_FALSE(Files(folders).hasNext());
    EXPECT_FALSE(Folders(files).hasNext());
    EXPECT_EQ(list<All>(folders), (std::vector{FolderEntry(u"a", aFolder), FolderEntry(u"b", aFolder)}));
}

TEST(FileFolderEntryIteratorTest, YieldsTheAcceptedKindInTheOrderOfPaths) {
    const auto children =
        snapshot({{u"b", aFile}, {u"a", aFolder}, {u"d", aFolder}, {u"c", aFile}, {u"e", aFile}});
    EXPECT_EQ(list<All>(children),
              (std::vector{FolderEntry(u"a", aFolder), FolderEntry(u"b", aFile), FolderEntry(u"c", aFile),
                           FolderEntry(u"d", aFolder), FolderEntry(u"e", aFile)}));
    EXPECT_EQ(list<Files>(children),
              (std::vector{FolderEntry(u"b", aFile), FolderEntry(u"c", aFile), FolderEntry(u"e", aFile)}));
    EXPECT_EQ(list<Folders>(children), (std::vector{FolderEntry(u"a", aFolder), FolderEntry(u"d", aFolder)}));
}

TEST(FileFolderEntryIteratorTest, KeepsThePositionWhenTheEntryIsRead) {
    All listing(snapshot({{u"a", aFolder}, {u"b", aFile}}));
    listing.step();
    EXPECT_EQ(listing.getEntry(), FolderEntry(u"a", aFolder));
    EXPECT_EQ(listing.getEntry(), FolderEntry(u"a", aFolder));
    EXPECT_TRUE(listing.hasNext());
}

TEST(FileFolderEntryIteratorTest, KeepsTheLastEntryAtTheEnd) {
    Files listing(snapshot({{u"a", aFile}, {u"b", aFolder}}));
    listing.step();
    EXPECT_FALSE(listing.hasNext());
    EXPECT_EQ(listing.getEntry(), FolderEntry(u"a", aFile));
}

TEST(FileFolderEntryIteratorTest, ClonesIndependentRemainingEntries) {
    const auto children = snapshot({{u"a", aFile}, {u"b", aFolder}, {u"c", aFile}, {u"d", aFile}});
    Files listing(children);
    listing.step();
    const auto clone = listing.clone();
    const std::vector<FolderEntry> left{FolderEntry(u"c", aFile), FolderEntry(u"d", aFile)};
    EXPECT_EQ(rest(*clone), left);
    EXPECT_EQ(listing.getEntry(), FolderEntry(u"a", aFile));
    EXPECT_EQ(rest(listing), left);
}

/// Each name must be correct, whether the listing or a clone of it is stepped first. The names are too long
/// for the small string optimization, so a moved-from string is detected.
TEST(FileFolderEntryIteratorTest, ClonesRemainingFullNamesAfterAnyNumberOfSteps) {
    const std::u16string beginning = u"a name that is rather long, number ";
    std::vector<FolderEntry> all;
    std::vector<std::pair<std::u16string, FolderEntry::EntryType>> children;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
        all.emplace_back(beginning + digit, digit % 3 == 0 ? aFolder : aFile);
        children.emplace_back(beginning + digit, digit % 3 == 0 ? aFolder : aFile);
    }
    All listing(snapshot(children));
    for (std::size_t steps = 0; steps <= all.size(); ++steps) {
        const std::vector<FolderEntry> left(all.begin() + static_cast<std::ptrdiff_t>(steps), all.end());
        const auto clone = listing.clone();
        const auto cloneOfClone = clone->clone();
        EXPECT_EQ(rest(*clone), left);
        EXPECT_EQ(rest(*cloneOfClone), left);
        if (steps > 0) {
            EXPECT_EQ(listing.getEntry(), all[steps - 1]);
        }
        if (steps < all.size()) {
            listing.step();
        }
    }
    EXPECT_FALSE(listing.hasNext());
}

TEST(FileFolderEntryIteratorTest, LeavesTheOriginalSnapshotUnchanged) {
    const auto children = snapshot({{u"a file with a rather long name", aFile}, {u"b", aFolder}});
    const auto first = list<All>(children);
    EXPECT_EQ(list<All>(children), first);
}

TEST(FileFolderEntryIteratorTest, ClonesToAnObjectThatOutlivesIt) {
    auto listing = std::make_unique<All>(snapshot({{u"a", aFile}, {u"b", aFolder}}));
    listing->step();
    const auto clone = listing->clone();
    listing.reset();
    EXPECT_EQ(rest(*clone), (std::vector{FolderEntry(u"b", aFolder)}));
}

TEST(FileFolderEntryIteratorTest, ClonesItsPosition) {
    All listing(snapshot({{u"a", aFile}}));
    EXPECT_EQ(rest(*listing.clone()), (std::vector{FolderEntry(u"a", aFile)}));
    listing.step();
    EXPECT_FALSE(listing.clone()->hasNext());
}

TEST(FileFolderEntryIteratorTest, ClonesToTheSameKindOfListing) {
    const Folders listing(snapshot({{u"a", aFile}}));
    EXPECT_NE(dynamic_cast<Folders*>(listing.clone().get()), nullptr);
}

} // namespace
} // namespace storage::inmemoryprovider::file_folder_entry_iterator_test
