#include "host/session/KeptAttributes.h"

#include "host/support/FileTime.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::DiskAttributes;
using host::DiskOwner;
using host::EntryKind;
using host::fromDiskTime;
using host::KeptAttributes;
using host::StoragePath;

StoragePath at(std::u16string_view text) {
    return StoragePath::resolve(StoragePath(), text);
}

class KeptAttributesTest : public testing::Test {
protected:
    void setMode(std::u16string_view path, EntryKind kind, mode_t mode) {
        DiskAttributes attributes;
        attributes.kind = kind;
        attributes.mode = mode;
        attributes.modified = timespec{};
        kept_.set(at(path), attributes);
    }

    void setLink(std::u16string_view path, const std::string& target) {
        DiskAttributes attributes;
        attributes.kind = EntryKind::SymbolicLink;
        attributes.linkTarget = target;
        attributes.modified = timespec{};
        kept_.set(at(path), attributes);
    }

    void setGroup(std::u16string_view path, std::uint64_t group) {
        DiskAttributes attributes;
        attributes.mode = 0644;
        attributes.linkGroup = group;
        kept_.set(at(path), attributes);
    }

    DiskAttributes find(std::u16string_view path) const { return kept_.find(at(path), {}); }

    KeptAttributes kept_{KeptAttributes::Defaults{0644, 0755, {1, 2}}};
};

TEST_F(KeptAttributesTest, FindsNonDefaultAttributes) {
    setMode(u"/f", EntryKind::File, 0600);
    setMode(u"/d", EntryKind::Folder, 0700);
    EXPECT_EQ(find(u"/f").mode, 0600U);
    EXPECT_EQ(find(u"/d").mode, 0700U);
    EXPECT_EQ(find(u"/g").mode, std::nullopt);
}

TEST_F(KeptAttributesTest, UsesNoMemoryForDefaultAttributes) {
    DiskAttributes usual;
    usual.mode = 0644;
    usual.owner = DiskOwner{1, 2};
    usual.modified = timespec{1000000000, 123456000};
    kept_.set(at(u"/f"), usual);
    setMode(u"/d", EntryKind::Folder, 0755);
    EXPECT_EQ(kept_.size(), 0U);
    setMode(u"/f", EntryKind::File, 0755);
    EXPECT_EQ(kept_.size(), 1U);
    setMode(u"/f", EntryKind::File, 0644);
    EXPECT_EQ(find(u"/f").mode, std::nullopt);
    EXPECT_EQ(kept_.size(), 0U);
}

TEST_F(KeptAttributesTest, KeepsAttributesThatProvidersCannotStore) {
    DiskAttributes known;
    known.owner = DiskOwner{3, 4};
    known.xattrs = {{"user.note", "x"}};
    known.isSparse = true;
    known.linkGroup = kept_.newLinkGroup();
    kept_.set(at(u"/f"), known);
    const DiskAttributes found = find(u"/f");
    EXPECT_EQ(found.owner, known.owner);
    EXPECT_EQ(found.xattrs, known.xattrs);
    EXPECT_TRUE(found.isSparse);
    EXPECT_EQ(found.linkGroup, known.linkGroup);
    EXPECT_NE(kept_.newLinkGroup(), known.linkGroup);
}

TEST_F(KeptAttributesTest, KeepsNanosecondsWhileTheTimeIsUnchanged) {
    const timespec exact{1000000000, 123456789};
    DiskAttributes known;
    known.modified = exact;
    kept_.set(at(u"/f"), known);
    const auto stored = fromDiskTime(exact);
    ASSERT_TRUE(kept_.find(at(u"/f"), stored).modified);
    EXPECT_EQ(kept_.find(at(u"/f"), stored).modified->tv_nsec, 123456789);
    EXPECT_FALSE(kept_.find(at(u"/f"), stored + boost::posix_time::microseconds(1)).modified);
}

TEST_F(KeptAttributesTest, MovesTheRecordsOfATree) {
    setMode(u"/d", EntryKind::Folder, 0700);
    setMode(u"/d/s/f", EntryKind::File, 0600);
    setLink(u"/d/s/l", "f");
    setMode(u"/d-other", EntryKind::File, 0640);
    kept_.moved(at(u"/d"), at(u"/e/d"));
    EXPECT_EQ(find(u"/e/d").mode, 0700U);
    EXPECT_EQ(find(u"/e/d/s/f").mode, 0600U);
    EXPECT_EQ(find(u"/e/d/s/l").linkTarget, "f");
    EXPECT_EQ(find(u"/d").mode, std::nullopt);
    EXPECT_EQ(find(u"/d/s/f").mode, std::nullopt);
    EXPECT_TRUE(kept_.specialIn(at(u"/d/s")).empty());
    EXPECT_EQ(find(u"/d-other").mode, 0640U);
}

TEST_F(KeptAttributesTest, ReplacesTheRecordsOfAMoveTarget) {
    setMode(u"/f", EntryKind::File, 0600);
    kept_.moved(at(u"/g"), at(u"/f"));
    EXPECT_EQ(find(u"/f").mode, std::nullopt);
    setMode(u"/f", EntryKind::File, 0600);
    kept_.moved(at(u"/f"), at(u"/f"));
    EXPECT_EQ(find(u"/f").mode, 0600U) << "a move onto itself";
}

TEST_F(KeptAttributesTest, CopiesARecordWithoutItsLinkGroup) {
    setMode(u"/f", EntryKind::File, 0600);
    kept_.copied(at(u"/f"), at(u"/g"));
    EXPECT_EQ(find(u"/f").mode, 0600U);
    EXPECT_EQ(find(u"/g").mode, 0600U);
    kept_.copied(at(u"/usual"), at(u"/g"));
    EXPECT_EQ(find(u"/g").mode, std::nullopt);
    setGroup(u"/f", 7);
    kept_.copied(at(u"/f"), at(u"/g"));
    EXPECT_EQ(find(u"/f").linkGroup, 7U);
    EXPECT_EQ(find(u"/g").linkGroup, 0U);
    EXPECT_EQ(kept_.size(), 1U) << "the copy has only default attributes, so it has no record";
}

TEST_F(KeptAttributesTest, RemovesAChangedFileFromItsLinkGroup) {
    setGroup(u"/f", 7);
    setGroup(u"/g", 7);
    kept_.changed(at(u"/f"));
    EXPECT_EQ(find(u"/f").linkGroup, 0U);
    EXPECT_EQ(find(u"/g").linkGroup, 7U);
    setMode(u"/f", EntryKind::File, 0600);
    kept_.changed(at(u"/f"));
    EXPECT_EQ(find(u"/f").mode, 0600U);
}

TEST_F(KeptAttributesTest, ListsSpecialEntries) {
    setLink(u"/d/b", "x");
    setLink(u"/d/a", "y");
    setMode(u"/d/f", EntryKind::File, 0600);
    setLink(u"/l", "z");
    const auto special = kept_.specialIn(at(u"/d"));
    ASSERT_EQ(special.size(), 2U);
    EXPECT_EQ(special[0].name, u"a");
    EXPECT_EQ(special[1].name, u"b");
    EXPECT_EQ(special[0].kind, EntryKind::SymbolicLink);
    EXPECT_EQ(kept_.specialIn(StoragePath()).size(), 1U);
    kept_.changed(at(u"/d/a"));
    EXPECT_EQ(kept_.specialIn(at(u"/d")).size(), 1U) << "a file has replaced the link";
    kept_.copiedSpecial(at(u"/d"), at(u"/e"));
    EXPECT_EQ(find(u"/e/b").linkTarget, "x");
    EXPECT_EQ(find(u"/e/f").mode, std::nullopt) << "files are copied one by one";
}

TEST_F(KeptAttributesTest, DropsTheRecordsOfARemovedTree) {
    setMode(u"/d", EntryKind::Folder, 0700);
    setLink(u"/d/l", "x");
    setLink(u"/d/s/l", "x");
    setMode(u"/d2", EntryKind::File, 0600);
    kept_.removed(at(u"/d"));
    EXPECT_EQ(kept_.size(), 1U);
    EXPECT_EQ(find(u"/d2").mode, 0600U);
}

} // namespace

} // namespace storage::tests
