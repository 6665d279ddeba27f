#include "host/session/EntryModes.h"

#include <gtest/gtest.h>

namespace {

using storage::host::EntryModes;
using storage::host::StoragePath;
using Kind = EntryModes::Kind;

StoragePath at(std::u16string_view text) {
    return StoragePath::resolve(StoragePath(), text);
}

class EntryModesTest : public testing::Test {
protected:
    EntryModes modes_ = EntryModes::ofUmask(022);
};

TEST_F(EntryModesTest, FindsWhatIsNotUsual) {
    modes_.set(at(u"/f"), Kind::File, 0600);
    modes_.set(at(u"/d"), Kind::Folder, 0700);
    EXPECT_EQ(modes_.find(at(u"/f")), 0600U);
    EXPECT_EQ(modes_.find(at(u"/d")), 0700U);
    EXPECT_EQ(modes_.find(at(u"/g")), std::nullopt);
}

TEST_F(EntryModesTest, KeepsNoRecordOfUsualPermissions) {
    modes_.set(at(u"/f"), Kind::File, 0644);
    modes_.set(at(u"/d"), Kind::Folder, 0755);
    EXPECT_TRUE(modes_.recorded().empty());
    modes_.set(at(u"/f"), Kind::File, 0755);
    modes_.set(at(u"/f"), Kind::File, 0644);
    EXPECT_EQ(modes_.find(at(u"/f")), std::nullopt);
}

TEST_F(EntryModesTest, FollowsAMoveWithAllBelow) {
    modes_.set(at(u"/d"), Kind::Folder, 0700);
    modes_.set(at(u"/d/s/f"), Kind::File, 0600);
    modes_.set(at(u"/d-other"), Kind::File, 0640);
    modes_.moved(at(u"/d"), at(u"/e/d"));
    EXPECT_EQ(modes_.find(at(u"/e/d")), 0700U);
    EXPECT_EQ(modes_.find(at(u"/e/d/s/f")), 0600U);
    EXPECT_EQ(modes_.find(at(u"/d")), std::nullopt);
    EXPECT_EQ(modes_.find(at(u"/d/s/f")), std::nullopt);
    EXPECT_EQ(modes_.find(at(u"/d-other")), 0640U);
}

TEST_F(EntryModesTest, AMoveReplacesWhatWasKnownOfTheTarget) {
    modes_.set(at(u"/f"), Kind::File, 0600);
    modes_.moved(at(u"/g"), at(u"/f"));
    EXPECT_EQ(modes_.find(at(u"/f")), std::nullopt);
    modes_.set(at(u"/f"), Kind::File, 0600);
    modes_.moved(at(u"/f"), at(u"/f"));
    EXPECT_EQ(modes_.find(at(u"/f")), 0600U) << "a move onto itself";
}

TEST_F(EntryModesTest, ACopyHasThePermissionsOfItsSource) {
    modes_.set(at(u"/f"), Kind::File, 0600);
    modes_.copied(at(u"/f"), at(u"/g"));
    EXPECT_EQ(modes_.find(at(u"/f")), 0600U);
    EXPECT_EQ(modes_.find(at(u"/g")), 0600U);
    modes_.copied(at(u"/usual"), at(u"/g"));
    EXPECT_EQ(modes_.find(at(u"/g")), std::nullopt);
}

TEST_F(EntryModesTest, ForgetsWhatIsRemoved) {
    modes_.set(at(u"/f"), Kind::File, 0600);
    modes_.removed(at(u"/f"));
    EXPECT_EQ(modes_.find(at(u"/f")), std::nullopt);
}

} // namespace
