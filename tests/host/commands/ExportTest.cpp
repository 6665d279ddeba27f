#include "tests/support/SessionTest.h"

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

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

/// A tree of the disk with permissions that no umask gives.
class ExportModeTest : public ExportTest {
protected:
    ExportModeTest() {
        disk_.write("src/private/secret", "s");
        disk_.write("src/program", "#!/bin/sh\n");
        disk_.write("src/shared", "x");
        fs::permissions(disk_ / "src/private/secret", fs::perms(0600));
        fs::permissions(disk_ / "src/private", fs::perms(0700));
        fs::permissions(disk_ / "src/program", fs::perms(0755));
        fs::permissions(disk_ / "src/shared", fs::perms(0664));
        succeed("import " + disk_ / "src" + " /");
    }

    mode_t modeOf(const std::string& name) const { return statusOf(disk_ / name).st_mode & 07777U; }
};

TEST_F(ExportModeTest, PermissionsComeBack) {
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(modeOf("out/private/secret"), 0600U);
    EXPECT_EQ(modeOf("out/private"), 0700U);
    EXPECT_EQ(modeOf("out/program"), 0755U);
    EXPECT_EQ(modeOf("out/shared"), 0664U);
}

TEST_F(ExportModeTest, NobodyElsesProgramComesToRunWithTheRightsOfTheUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can make files of others";
    }
    constexpr uid_t nobody = 65534;
    constexpr auto setIds = fs::perms::set_uid | fs::perms::set_gid;
    fs::permissions(disk_ / "src/program", fs::perms(0755) | setIds);
    disk_.write("others/program", "#!/bin/sh\n");
    disk_.makeFolder("others/folder");
    for (const char* const name : {"others/program", "others/folder"}) {
        ASSERT_EQ(::chown((disk_ / name).c_str(), nobody, nobody), 0);
        fs::permissions(disk_ / name, fs::perms(0755) | setIds);
    }
    succeed("import " + disk_ / "src/program" + " /own");
    succeed("import " + disk_ / "others" + " /");
    succeed("export /own " + disk_ / "out");
    succeed("export /others " + disk_ / "out-of-others");
    EXPECT_EQ(modeOf("out"), 06755U);
    EXPECT_EQ(modeOf("out-of-others/program"), 0755U);
    EXPECT_EQ(modeOf("out-of-others/folder"), 0755U);
}

TEST_F(ExportModeTest, AFolderThatWasImportedInPartStaysPrivate) {
    provider_->beforeWrite = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("import " + disk_ / "src/private" + " /part"), ExitStatus::Interrupted);
    provider_->beforeWrite = [] {};
    interruption_.clear();
    succeed("export /part " + disk_ / "out");
    EXPECT_EQ(modeOf("out"), 0700U);
}

TEST_F(ExportModeTest, AFolderThatIsExportedInPartHasItsPermissions) {
    fs::permissions(disk_ / "src/private", fs::perms(0750));
    succeed("import " + disk_ / "src" + " /again");
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("export /again/private " + disk_ / "out"), ExitStatus::Interrupted);
    provider_->beforeRead = [] {};
    interruption_.clear();
    EXPECT_EQ(modeOf("out"), 0750U);
    EXPECT_EQ(namesIn(disk_ / "out"), "");
}

TEST_F(ExportModeTest, PermissionsFollowMovesAndCopies) {
    succeed("mv /src/private /moved");
    succeed("cp -r /moved /copy");
    succeed("cp /src/program /run");
    succeed("export /moved /copy /run " + disk_.path());
    EXPECT_EQ(modeOf("moved/secret"), 0600U);
    EXPECT_EQ(modeOf("moved"), 0700U);
    EXPECT_EQ(modeOf("copy/secret"), 0600U);
    EXPECT_EQ(modeOf("copy"), 0700U);
    EXPECT_EQ(modeOf("run"), 0755U);
}

TEST_F(ExportModeTest, WhatTakesTheNameOfARemovedFileIsNew) {
    succeed("rm -f /src/private/secret");
    succeed("write /src/private/secret public");
    const mode_t mask = ::umask(022);
    ::umask(mask);
    succeed("export /src/private/secret " + disk_ / "out");
    EXPECT_EQ(modeOf("out"), 0666U & ~mask);
}

TEST_F(ExportModeTest, TheWritableFlagIsStronger) {
    succeed("chmod -w /src/shared /src/private");
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(modeOf("out/shared"), 0444U);
    EXPECT_EQ(modeOf("out/private"), 0500U);
}

TEST_F(ExportModeTest, AReplacedFileKeepsOwnerAndPermissions) {
    disk_.write("out/f", "before");
    fs::permissions(disk_ / "out/f", fs::perms(0600));
    const bool isRoot = ::geteuid() == 0;
    constexpr uid_t nobody = 65534;
    if (isRoot) {
        ASSERT_EQ(::chown((disk_ / "out/f").c_str(), nobody, nobody), 0);
    }
    succeed("export /a/f " + disk_ / "out");
    EXPECT_EQ(readFile(disk_ / "out/f"), "one\n");
    EXPECT_EQ(modeOf("out/f"), 0600U);
    EXPECT_EQ(statusOf(disk_ / "out/f").st_uid, isRoot ? nobody : ::geteuid());
    EXPECT_EQ(statusOf(disk_ / "out/f").st_gid, isRoot ? nobody : ::getegid());
}

TEST_F(ExportModeTest, NobodyElseReadsWhatIsNotComplete) {
    const std::string out = disk_.makeFolder("out");
    int seen = 0;
    provider_->beforeRead = [&] {
        for (const auto& entry : fs::directory_iterator(out)) {
            EXPECT_EQ(statusOf(entry.path()).st_mode & 0777U, 0600U) << entry.path();
            ++seen;
        }
    };
    succeed("export /src/program " + out);
    EXPECT_GT(seen, 0);
    provider_->beforeRead = [] {};
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
