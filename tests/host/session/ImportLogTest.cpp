#include "host/session/ImportLog.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::ImportLog;
using host::ImportSource;
using host::StoragePath;
using testing::ElementsAre;
using testing::IsEmpty;

using Scope = ImportSource::Scope;

StoragePath path(std::u16string_view text) {
    return StoragePath::resolve(StoragePath(), text);
}

std::vector<std::string> sourcesAt(const ImportLog& log, std::u16string_view text) {
    std::vector<std::string> paths;
    for (const ImportSource& source : log.at(path(text))) {
        paths.push_back(source.diskPath);
    }
    return paths;
}

TEST(ImportLogTest, KeepsEachSourceOnceInImportOrder) {
    ImportLog log;
    EXPECT_TRUE(log.empty());
    log.add("/one", path(u"/a"), Scope::Whole);
    log.add("/two", path(u"/a"), Scope::ContentOnly);
    log.add("/one/.", path(u"/a"), Scope::Whole);
    log.add("/one", path(u"/b"), Scope::Whole);
    EXPECT_FALSE(log.empty());
    EXPECT_THAT(sourcesAt(log, u"/a"), ElementsAre("/two", "/one"));
    EXPECT_THAT(sourcesAt(log, u"/b"), ElementsAre("/one"));
    EXPECT_THAT(sourcesAt(log, u"/a/x"), IsEmpty());
}

TEST(ImportLogTest, KeepsDotDotAfterALink) {
    ImportLog log;
    log.add("link/../f", path(u"/f"), Scope::Whole);
    EXPECT_THAT(sourcesAt(log, u"/f"), ElementsAre(std::filesystem::current_path() / "link/../f"));
}

TEST(ImportLogTest, FollowsAMoveToAnotherStorage) {
    const StoragePath root(std::make_shared<const std::u16string>(u"other"));
    ImportLog log;
    ImportLog other(root);
    other.add("/old", root.child(u"b"), Scope::Whole);
    log.add("/one", path(u"/a/f"), Scope::Whole);
    log.add("/stays", path(u"/ab"), Scope::Whole);
    log.movedTo(other, path(u"/a"), root.child(u"b"));
    EXPECT_THAT(log.topmost(), ElementsAre(path(u"/ab")));
    EXPECT_THAT(other.topmost(), ElementsAre(root.child(u"b")));
    EXPECT_EQ(other.at(root.child(u"b").child(u"f")).front().diskPath, "/one");
    EXPECT_GT(other.at(root.child(u"b").child(u"f")).front().order, other.at(root.child(u"b")).front().order);
}

TEST(ImportLogTest, FindsTheTopmostCopies) {
    ImportLog log;
    log.add("/disk", path(u"/a/b/c"), Scope::Whole);
    log.add("/disk", path(u"/a!"), Scope::Whole);
    log.add("/disk", path(u"/a/b"), Scope::Whole);
    log.add("/disk", path(u"/a/d/e"), Scope::Whole);
    EXPECT_THAT(log.topmost(), ElementsAre(path(u"/a!"), path(u"/a/b"), path(u"/a/d/e")));
    EXPECT_THAT(log.namesIn(path(u"/")), ElementsAre(u"a", u"a!"));
    EXPECT_THAT(log.namesIn(path(u"/a")), ElementsAre(u"b", u"d"));
    EXPECT_THAT(log.namesIn(path(u"/a/b/c")), IsEmpty());
    log.add("/disk", path(u"/"), Scope::ContentOnly);
    EXPECT_THAT(log.topmost(), ElementsAre(path(u"/")));
    EXPECT_THAT(log.namesIn(path(u"/")), ElementsAre(u"a", u"a!"));
}

TEST(ImportLogTest, DoesNotCoverAFolderThatWasOnlyExtended) {
    ImportLog log;
    log.add("/disk", path(u"/a"), Scope::ContentOnly);
    EXPECT_FALSE(log.covers(path(u"/a")));
    EXPECT_TRUE(log.covers(path(u"/a/b")));
    log.add("/other", path(u"/a"), Scope::Whole);
    log.add("/other", path(u"/a"), Scope::ContentOnly);
    EXPECT_TRUE(log.covers(path(u"/a")));
    EXPECT_FALSE(log.covers(path(u"/")));
    EXPECT_FALSE(log.covers(path(u"/aa")));
}

TEST(ImportLogTest, FollowsMovesOfTheCopyAndOfFoldersAboveIt) {
    ImportLog log;
    log.add("/disk", path(u"/a/b"), Scope::ContentOnly);
    log.moved(path(u"/a/b"), path(u"/c"));
    EXPECT_THAT(sourcesAt(log, u"/a/b"), IsEmpty());
    ASSERT_THAT(sourcesAt(log, u"/c"), ElementsAre("/disk"));
    EXPECT_EQ(log.at(path(u"/c"))[0].scope, Scope::ContentOnly);
    log.moved(path(u"/c/d"), path(u"/e"));
    log.moved(path(u"/cc"), path(u"/e"));
    EXPECT_THAT(sourcesAt(log, u"/c"), ElementsAre("/disk")) << "what moved was another entry";
    log.add("/below", path(u"/c/f"), Scope::Whole);
    log.moved(path(u"/c"), path(u"/g/h"));
    EXPECT_THAT(sourcesAt(log, u"/g/h"), ElementsAre("/disk"));
    EXPECT_THAT(sourcesAt(log, u"/g/h/f"), ElementsAre("/below"));
    log.moved(path(u"/g"), path(u"/g"));
    EXPECT_THAT(sourcesAt(log, u"/g/h"), ElementsAre("/disk"));
}

TEST(ImportLogTest, PlacesMovedSourcesOnTop) {
    ImportLog log;
    log.add("/one", path(u"/a"), Scope::Whole);
    log.add("/two", path(u"/b"), Scope::Whole);
    log.moved(path(u"/a"), path(u"/b"));
    EXPECT_THAT(sourcesAt(log, u"/b"), ElementsAre("/two", "/one"));
    EXPECT_LT(log.at(path(u"/b"))[0].order, log.at(path(u"/b"))[1].order);
}

} // namespace

} // namespace storage::tests
