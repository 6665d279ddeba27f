#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider::in_memory_entry_test {
namespace {

const boost::posix_time::ptime early(boost::gregorian::date(2001, 2, 3), boost::posix_time::microseconds(4));
const boost::posix_time::ptime late(boost::gregorian::date(2020, 5, 6));

InMemoryEntryPath path(std::u16string text) {
    return InMemoryEntryPath(std::move(text));
}

TEST(InMemoryEntryTest, ReturnsItsConstructorArguments) {
    const InMemoryFileEntry entry(path(u"/a/f"), early, false);
    EXPECT_EQ(entry.getPath(), path(u"/a/f"));
    EXPECT_EQ(&entry.path(), &entry.path());
    EXPECT_EQ(entry.path(), path(u"/a/f"));
    EXPECT_EQ(entry.getName(), u"f");
    EXPECT_EQ(entry.getLastModifiedTime(), early);
    EXPECT_FALSE(entry.isWritable());
}

TEST(InMemoryEntryTest, NamesTheRootByItsSeparator) {
    EXPECT_EQ(InMemoryFolderEntry(path(u"/"), early, true).getName(), u"/");
}

TEST(InMemoryEntryTest, AcceptsAnEarlierTime) {
    InMemoryFolderEntry entry(path(u"/a"), late, true);
    entry.setLastModifiedTime(early);
    EXPECT_EQ(entry.getLastModifiedTime(), early);
}

TEST(InMemoryEntryTest, StoresTheWritableFlag) {
    InMemoryFolderEntry entry(path(u"/a"), late, true);
    entry.setWritable(false);
    EXPECT_FALSE(entry.isWritable());
    entry.setWritable(true);
    EXPECT_TRUE(entry.isWritable());
}

TEST(InMemoryEntryTest, ComparesKindAndPathOnly) {
    const InMemoryFileEntry file(path(u"/a"), early, true);
    const InMemoryFileEntry sameButTimeAndFlag(path(u"/a"), late, false);
    const InMemoryFileEntry other(path(u"/b"), early, true);
    const InMemoryFolderEntry folder(path(u"/a"), early, true);
    EXPECT_TRUE(file == sameButTimeAndFlag);
    EXPECT_FALSE(file == other);
    EXPECT_FALSE(static_cast<const InMemoryEntry&>(file) == folder);
}

TEST(InMemoryEntryTest, ReportsItsKind) {
    EXPECT_FALSE(InMemoryFileEntry(path(u"/a"), early, true).isFolder());
    EXPECT_TRUE(InMemoryFolderEntry(path(u"/a"), early, true).isFolder());
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_entry_test
