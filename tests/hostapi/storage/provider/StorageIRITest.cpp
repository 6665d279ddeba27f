#include "hostapi/storage/provider/StorageIRI.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

namespace storage::tests {

using provider::StorageIRI;

namespace {

TEST(StorageIRITest, UsesASinglePathAsPathAndResolvedPath) {
    const StorageIRI iri(u"/a//b/");
    EXPECT_EQ(iri.getPath(), u"/a//b/");
    EXPECT_EQ(iri.getResolvedPath(), u"/a//b/");
}

TEST(StorageIRITest, HasAParentIfItsPathContainsAName) {
    for (const char16_t* path : {u"", u"/", u"//", u"////"}) {
        EXPECT_FALSE(StorageIRI(path).hasParent()) << testing::PrintToString(path);
    }
    for (const char16_t* path : {u"/a", u"a", u"a/", u"//a", u"/a/b", u"/."}) {
        EXPECT_TRUE(StorageIRI(path).hasParent()) << testing::PrintToString(path);
    }
}

TEST(StorageIRITest, KeepsSeparateProperties) {
    const StorageIRI iri(u"/resolved", u"/alias", false);
    EXPECT_EQ(iri.getResolvedPath(), u"/resolved");
    EXPECT_EQ(iri.getPath(), u"/alias");
    EXPECT_FALSE(iri.hasParent());
    EXPECT_TRUE(StorageIRI(u"/", u"/", true).hasParent());
}

TEST(StorageIRITest, EqualsAnotherWithTheSameProperties) {
    EXPECT_EQ(StorageIRI(u"/a"), StorageIRI(u"/a", u"/a", true));
    EXPECT_NE(StorageIRI(u"/a"), StorageIRI(u"/a/"));
    EXPECT_NE(StorageIRI(u"/a"), StorageIRI(u"/b", u"/a", true));
    EXPECT_NE(StorageIRI(u"/a"), StorageIRI(u"/a", u"/b", true));
    EXPECT_NE(StorageIRI(u"/a"), StorageIRI(u"/a", u"/a", false));
}

} // namespace

} // namespace storage::tests
