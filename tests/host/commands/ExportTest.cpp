#include "tests/support/SessionTest.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using foundation::storage::provider::StorageIRI;

class ExportTest : public SessionTest {
protected:
    ExportTest() {
        succeed("mkdir -p /a/s");
        succeed("write /a/f one");
        succeed("write /a/s/g two");
    }

    static struct stat statusOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status;
    }
};

TEST_F(ExportTest, WritesAWholeTreeAndCountsIt) {
    EXPECT_EQ(succeed("export /a " + disk_ / "out"), "exported 2 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "f s");
    EXPECT_EQ(readFile(disk_ / "out/s/g"), "two\n");
}

TEST_F(ExportTest, GoesIntoAnExistingFolderUnderItsOwnName) {
    succeed("export /a /a/f " + disk_.path() + "/");
    EXPECT_EQ(namesIn(disk_.path()), "a f");
    EXPECT_EQ(namesIn(disk_ / "a"), "f s");
}

TEST_F(ExportTest, TheRootPutsItsContentIntoTheFolder) {
    disk_.makeFolder("out");
    succeed("chmod -w /");
    EXPECT_EQ(succeed("export / " + disk_ / "out"), "exported 3 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "a");
    EXPECT_NE(statusOf(disk_ / "out").st_mode & 0200U, 0U) << "a folder that was there keeps its own flag";
    succeed("export / " + disk_ / "new");
    EXPECT_EQ(namesIn(disk_ / "new"), "a");
}

TEST_F(ExportTest, SeveralSourcesNeedAFolder) {
    EXPECT_EQ(fail("export /a /a/f " + disk_ / "x"),
              "qzstorage: export: " + disk_ / "x" + ": not a folder\n");
}

TEST_F(ExportTest, KeepsTimesToTheMicrosecond) {
    const boost::posix_time::ptime time(boost::gregorian::date(2024, 2, 29),
                                        boost::posix_time::microseconds(123));
    for (const char16_t* path : {u"/a/s/g", u"/a/s", u"/a"}) {
        provider_->doSetLastModified(StorageIRI(path), time);
    }
    succeed("export /a " + disk_ / "out");
    for (const char* path : {"out", "out/s", "out/s/g"}) {
        EXPECT_EQ(statusOf(disk_ / path).st_mtim.tv_sec, 1709164800) << path;
        EXPECT_EQ(statusOf(disk_ / path).st_mtim.tv_nsec, 123000) << path;
    }
}

TEST_F(ExportTest, WhatIsReadOnlyHasNoWriteBits) {
    succeed("chmod -w /a/s/g /a/s");
    succeed("export /a " + disk_ / "out");
    EXPECT_EQ(statusOf(disk_ / "out/s/g").st_mode & 0222U, 0U);
    EXPECT_EQ(statusOf(disk_ / "out/s").st_mode & 0222U, 0U);
    EXPECT_NE(statusOf(disk_ / "out").st_mode & 0200U, 0U);
    EXPECT_NE(statusOf(disk_ / "out/f").st_mode & 0200U, 0U);
}

TEST_F(ExportTest, HonoursTheUmask) {
    const mode_t before = ::umask(027);
    succeed("export /a " + disk_ / "out");
    ::umask(before);
    EXPECT_EQ(statusOf(disk_ / "out").st_mode & 0777U, 0750U);
    EXPECT_EQ(statusOf(disk_ / "out/f").st_mode & 0777U, 0640U);
}

TEST_F(ExportTest, AddsToFoldersAndReplacesFiles) {
    disk_.write("a/f", "a long old content");
    disk_.write("a/old", "kept");
    succeed("export /a " + disk_.path());
    EXPECT_EQ(namesIn(disk_ / "a"), "f old s");
    EXPECT_EQ(readFile(disk_ / "a/f"), "one\n");
}

TEST_F(ExportTest, ReplacesNothingButFiles) {
    disk_.makeFolder("a/f");
    fs::create_symlink("elsewhere", disk_ / "a/s");
    EXPECT_EQ(fail("export /a " + disk_.path()),
              "qzstorage: export: " + disk_ / "a/f" + ": a folder is in the way\n" +
                  "qzstorage: export: " + disk_ / "a/s" + ": a symbolic link is in the way\n");
    EXPECT_EQ(fail("export /a/f /dev/null"), "qzstorage: export: /dev/null: a device is in the way\n");
    disk_.write("file", "x");
    EXPECT_EQ(fail("export /a " + disk_ / "file"),
              "qzstorage: export: " + disk_ / "file" + ": a file is in the way\n");
}

TEST_F(ExportTest, DoesNotWriteThroughALinkToAFolderBelowTheTop) {
    disk_.makeFolder("elsewhere");
    disk_.makeFolder("a");
    fs::create_symlink("../elsewhere", disk_ / "a/s");
    fail("export /a " + disk_.path());
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "");
}

TEST_F(ExportTest, ALinkToAFolderThatTheUserNamesIsFollowed) {
    disk_.makeFolder("elsewhere");
    fs::create_symlink("elsewhere", disk_ / "link");
    succeed("export / " + disk_ / "link");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "a");
    succeed("export /a/f " + disk_ / "link");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "a f");
}

TEST_F(ExportTest, ALinkUnderTheNameOfTheSourceIsNot) {
    disk_.makeFolder("elsewhere");
    fs::create_symlink("elsewhere", disk_ / "a");
    EXPECT_EQ(fail("export /a " + disk_.path()),
              "qzstorage: export: " + disk_ / "a" + ": a symbolic link is in the way\n");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "");
}

TEST_F(ExportTest, AMissingSourceOrFolderIsNamed) {
    EXPECT_EQ(fail("export /x " + disk_ / "out"), "qzstorage: export: /x: no such file or folder\n");
    EXPECT_EQ(fail("export /a " + disk_ / "x/y"),
              "qzstorage: export: " + disk_ / "x/y" + ": No such file or directory\n");
    EXPECT_EQ(fail("export /a/f " + disk_ / "x/y"),
              "qzstorage: export: " + disk_ / "x/y" + ": No such file or directory\n");
    EXPECT_EQ(output(), "exported 0 folders, 0 files, 0 bytes\n");
}

} // namespace
