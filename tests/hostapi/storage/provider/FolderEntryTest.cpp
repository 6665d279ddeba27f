#include "hostapi/storage/provider/FolderEntry.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

namespace storage::tests {

using provider::FolderEntry;

namespace {

TEST(FolderEntryTest, ReturnsNameAndKind) {
    const FolderEntry file(u"f", FolderEntry::EntryType::File);
    EXPECT_EQ(file.getName(), u"f");
    EXPECT_EQ(file.getType(), FolderEntry::EntryType::File);
    EXPECT_EQ(FolderEntry(u"d", FolderEntry::EntryType::Folder).getType(), FolderEntry::EntryType::Folder);
}

TEST(FolderEntryTest, EqualsAnotherOfTheSameNameAndKind) {
    const FolderEntry file(u"x", FolderEntry::EntryType::File);
    EXPECT_EQ(file, FolderEntry(u"x", FolderEntry::EntryType::File));
    EXPECT_NE(file, FolderEntry(u"X", FolderEntry::EntryType::File));
    EXPECT_NE(file, FolderEntry(u"x", FolderEntry::EntryType::Folder));
}

} // namespace

} // namespace storage::tests
