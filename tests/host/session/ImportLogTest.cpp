#include "host/session/ImportLog.h"

#include <gtest/gtest.h>

namespace {

using storage::host::ImportLog;
using storage::host::StoragePath;

StoragePath path(std::u16string_view text) {
    return StoragePath::resolve(StoragePath(), text);
}

TEST(ImportLogTest, RemembersAnImportOnce) {
    ImportLog log;
    log.add({"/disk", path(u"/a")});
    log.add({"/disk", path(u"/a")});
    log.add({"/disk", path(u"/b")});
    EXPECT_EQ(log.records().size(), 2U);
    EXPECT_TRUE(log.hasImportAt(path(u"/a")));
    EXPECT_FALSE(log.hasImportAt(path(u"/a/x")));
}

TEST(ImportLogTest, FollowsMovesOfTheCopyAndOfFoldersAboveIt) {
    ImportLog log;
    log.add({"/disk", path(u"/a/b")});
    log.moved(path(u"/a/b"), path(u"/c"));
    EXPECT_EQ(log.records()[0].path, path(u"/c"));
    log.moved(path(u"/c/d"), path(u"/e"));
    log.moved(path(u"/cc"), path(u"/e"));
    EXPECT_EQ(log.records()[0].path, path(u"/c")) << "what moved was another entry";
}

} // namespace
