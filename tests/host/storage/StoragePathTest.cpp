#include "host/storage/StoragePath.h"

#include <gtest/gtest.h>

namespace storage::tests {

namespace {

using host::StoragePath;

StoragePath path(std::u16string_view text) {
    return StoragePath::resolve(StoragePath(), text);
}

TEST(StoragePathTest, ResolvesAbsoluteWords) {
    EXPECT_EQ(path(u"/").text(), u"/");
    EXPECT_EQ(path(u"///").text(), u"/");
    EXPECT_EQ(path(u"/a//b/").text(), u"/a/b");
    EXPECT_EQ(path(u"/a/./b/../c").text(), u"/a/c");
    EXPECT_EQ(path(u"/../..").text(), u"/");
    EXPECT_EQ(path(u"/...").text(), u"/...");
}

TEST(StoragePathTest, ResolvesRelativeWords) {
    const StoragePath base = path(u"/a/b");
    EXPECT_EQ(StoragePath::resolve(base, u"c").text(), u"/a/b/c");
    EXPECT_EQ(StoragePath::resolve(base, u".").text(), u"/a/b");
    EXPECT_EQ(StoragePath::resolve(base, u"../c").text(), u"/a/c");
    EXPECT_EQ(StoragePath::resolve(base, u"../../../..").text(), u"/");
    EXPECT_EQ(StoragePath::resolve(base, u"/x").text(), u"/x");
}

TEST(StoragePathTest, ReturnsNameAndParent) {
    EXPECT_EQ(path(u"/a/b").name(), u"b");
    EXPECT_EQ(path(u"/a/b").parent(), path(u"/a"));
    EXPECT_EQ(path(u"/a").parent(), StoragePath());
    EXPECT_EQ(StoragePath().name(), u"");
    EXPECT_EQ(StoragePath().parent(), StoragePath());
    EXPECT_EQ(StoragePath().child(u"a").text(), u"/a");
}

TEST(StoragePathTest, ContainsItselfAndDescendants) {
    EXPECT_TRUE(path(u"/a").contains(path(u"/a")));
    EXPECT_TRUE(path(u"/a").contains(path(u"/a/b/c")));
    EXPECT_TRUE(StoragePath().contains(path(u"/a")));
    EXPECT_FALSE(path(u"/a").contains(path(u"/ab")));
    EXPECT_FALSE(path(u"/a").contains(path(u"/a-b")));
    EXPECT_FALSE(path(u"/a/b").contains(path(u"/a")));
}

TEST(StoragePathTest, FollowsAMovedAncestor) {
    EXPECT_EQ(path(u"/a/b/c").rebased(path(u"/a"), path(u"/x/y")), path(u"/x/y/b/c"));
    EXPECT_EQ(path(u"/a").rebased(path(u"/a"), path(u"/x")), path(u"/x"));
    EXPECT_EQ(path(u"/a/b").rebased(path(u"/"), path(u"/x")), path(u"/x/a/b"));
    EXPECT_EQ(path(u"/a/b").rebased(path(u"/a"), path(u"/")), path(u"/b"));
}

TEST(StoragePathTest, ConvertsToAnIri) {
    EXPECT_EQ(path(u"/a/b").iri().getResolvedPath(), u"/a/b");
    EXPECT_TRUE(path(u"/a").iri().hasParent());
    EXPECT_FALSE(StoragePath().iri().hasParent());
}

TEST(StoragePathTest, KeepsItsStorage) {
    const auto name = std::make_shared<const std::u16string>(u"disk");
    const StoragePath root(name);
    const StoragePath file = StoragePath::resolve(root.child(u"a"), u"../b/f");
    EXPECT_EQ(file.printed(), "disk:/b/f");
    EXPECT_EQ(file.text(), u"/b/f");
    EXPECT_EQ(StoragePath::resolve(file, u"/x").printed(), "disk:/x");
    EXPECT_EQ(file.parent().printed(), "disk:/b");
    EXPECT_EQ(file.root(), root);
    EXPECT_EQ(file.rebased(file.parent(), path(u"/c")), path(u"/c/f"));
}

TEST(StoragePathTest, DiffersBetweenStorages) {
    const StoragePath one(std::make_shared<const std::u16string>(u"one"));
    const StoragePath other(std::make_shared<const std::u16string>(u"one"));
    EXPECT_FALSE(one == other);
    EXPECT_FALSE(one.contains(other.child(u"f")));
    EXPECT_TRUE(one.contains(one.child(u"f")));
}

} // namespace

} // namespace storage::tests
