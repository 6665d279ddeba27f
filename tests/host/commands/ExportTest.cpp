#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SessionTest.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;

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

TEST_F(ExportTest, ExportsAndCountsATree) {
    EXPECT_EQ(succeed("export /a " + disk_ / "out"), "exported 2 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "f s");
    EXPECT_EQ(readFile(disk_ / "out/s/g"), "two\n");
}

TEST_F(ExportTest, ExportsIntoAnExistingFolderUnderItsOwnName) {
    succeed("export /a /a/f " + disk_.path() + "/");
    EXPECT_EQ(namesIn(disk_.path()), "a f");
    EXPECT_EQ(namesIn(disk_ / "a"), "f s");
}

TEST_F(ExportTest, ExportsTheContentOfTheRoot) {
    disk_.makeFolder("out");
    succeed("chmod -w /");
    EXPECT_EQ(succeed("export / " + disk_ / "out"), "exported 3 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "a");
    EXPECT_NE(statusOf(disk_ / "out").st_mode & 0200U, 0U) << "a folder that was there keeps its own flag";
    succeed("export / " + disk_ / "new");
    EXPECT_EQ(namesIn(disk_ / "new"), "a");
}

/// A tree on the disk with permissions that result from no umask.
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

TEST_F(ExportModeTest, RestoresPermissions) {
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(modeOf("out/private/secret"), 0600U);
    EXPECT_EQ(modeOf("out/private"), 0700U);
    EXPECT_EQ(modeOf("out/program"), 0755U);
    EXPECT_EQ(modeOf("out/shared"), 0664U);
}

TEST_F(ExportModeTest, NeverCreatesAProgramThatGivesOthersTheUsersRights) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make files of others";
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
    for (const char* const name : {"out-of-others/program", "out-of-others/folder"}) {
        EXPECT_EQ(statusOf(disk_ / name).st_uid, nobody) << name;
        EXPECT_EQ(statusOf(disk_ / name).st_gid, nobody) << name;
        EXPECT_EQ(modeOf(name), 06755U) << name;
    }
}

TEST_F(ExportModeTest, ClearsSetIdsIfTheOwnerCannotBeSet) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make files of others";
    }
    constexpr uid_t nobody = 65534;
    for (const char* const name : {"src/program", "src/private"}) {
        ASSERT_EQ(::chown((disk_ / name).c_str(), nobody, nobody), 0);
        fs::permissions(disk_ / name, fs::perms(0755) | fs::perms::set_uid | fs::perms::set_gid);
    }
    ASSERT_EQ(::setxattr((disk_ / "src/program").c_str(), "user.note", "x", 1, 0), 0) << std::strerror(errno);
    const std::string out = disk_.makeFolder("out");
    fs::permissions(out, fs::perms::all);
    const ProgramRun exported({"shell"}, "import " + disk_ / "src" + " /\nexport /src " + out + '\n', [] {
        if (::prctl(PR_CAPBSET_DROP, CAP_CHOWN, 0, 0, 0) != 0) {
            ::_exit(126);
        }
    });
    EXPECT_EQ(exported.status(), 0) << exported.errors();
    EXPECT_EQ(exported.errors(), "qzstorage: export: " + out +
                                     "/src: cannot preserve 2 owners: not permitted or not supported\n");
    EXPECT_EQ(modeOf("out/src/program"), 0755U);
    EXPECT_EQ(modeOf("out/src/private"), 0755U);
    EXPECT_EQ(statusOf(out + "/src/program").st_uid, ::geteuid());
}

/// Attributes that a provider does not store.
class ExportKeptTest : public ExportTest {
protected:
    void importSource() { run("import " + disk_ / "src" + " /src"); }

    bool isOneFile(const std::string& one, const std::string& other) const {
        return statusOf(disk_ / one).st_ino == statusOf(disk_ / other).st_ino;
    }

    static std::string xattrOf(const std::string& path, const char* name) {
        std::string value(100, '\0');
        const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
        value.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return value;
    }
};

TEST_F(ExportKeptTest, RestoresAndReplacesSymbolicLinks) {
    disk_.write("src/f", "x");
    fs::create_symlink("f", disk_ / "src/link");
    fs::create_symlink("../nowhere", disk_ / "src/dangling");
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / "src/link").c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    importSource();
    EXPECT_EQ(errors(),
              "qzstorage: import: 2 symbolic links are kept for exports; the storage cannot hold them\n");
    EXPECT_EQ(succeed("export /src " + disk_ / "out"),
              "exported 1 folder, 1 file, 1 byte, 2 symbolic links\n");
    EXPECT_EQ(fs::read_symlink(disk_ / "out/link"), "f");
    EXPECT_EQ(fs::read_symlink(disk_ / "out/dangling"), "../nowhere");
    EXPECT_EQ(statusOf(disk_ / "out/link").st_mtim.tv_nsec, 123456789);
    fs::remove(disk_ / "out/link");
    fs::create_symlink("elsewhere", disk_ / "out/link");
    succeed("mv /src /out");
    succeed("export /out " + disk_.path());
    EXPECT_EQ(fs::read_symlink(disk_ / "out/link"), "f");
    fs::remove(disk_ / "out/link");
    disk_.write("out/link", "a file");
    EXPECT_EQ(fail("export /out " + disk_.path()),
              "qzstorage: export: " + disk_ / "out/link" + ": a file is in the way\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "dangling f link");
}

TEST_F(ExportKeptTest, MovesSymbolicLinksWithTheirFolderAndReplacesThemByFiles) {
    disk_.write("src/f", "x");
    fs::create_symlink("f", disk_ / "src/link");
    importSource();
    succeed("mv /src /moved");
    succeed("cp -r /moved /copy");
    succeed("export /moved /copy " + disk_.path());
    EXPECT_EQ(fs::read_symlink(disk_ / "moved/link"), "f");
    EXPECT_EQ(fs::read_symlink(disk_ / "copy/link"), "f");
    succeed("write /copy/link text");
    succeed("rm /copy/link");
    succeed("rm -r /moved");
    succeed("mkdir /moved");
    succeed("export /moved " + disk_ / "new");
    succeed("export /copy " + disk_ / "other");
    EXPECT_EQ(namesIn(disk_ / "new"), "");
    EXPECT_EQ(namesIn(disk_ / "other"), "f");
}

TEST_F(ExportKeptTest, RestoresHardLinks) {
    disk_.write("src/a", "x");
    disk_.makeFolder("src/s");
    fs::create_hard_link(disk_ / "src/a", disk_ / "src/b");
    fs::create_hard_link(disk_ / "src/a", disk_ / "src/s/c");
    importSource();
    EXPECT_EQ(succeed("export /src " + disk_ / "out"), "exported 2 folders, 3 files, 1 byte\n");
    EXPECT_TRUE(isOneFile("out/a", "out/b"));
    EXPECT_TRUE(isOneFile("out/a", "out/s/c"));
    succeed("mv /src /out");
    succeed("export /out " + disk_.path());
    EXPECT_TRUE(isOneFile("out/a", "out/s/c")) << "once more, onto the same";
    EXPECT_EQ(namesIn(disk_ / "out"), "a b s");
    succeed("mv /out /src");
    succeed("append /src/b more");
    succeed("mv /src/s/c /src/d");
    succeed("export /src " + disk_ / "changed");
    EXPECT_EQ(readFile(disk_ / "changed/a"), "x");
    EXPECT_EQ(readFile(disk_ / "changed/b"), "xmore\n");
    EXPECT_FALSE(isOneFile("changed/a", "changed/b"));
    EXPECT_TRUE(isOneFile("changed/a", "changed/d"));
}

TEST_F(ExportKeptTest, SeparatesACopyFromItsHardLinks) {
    disk_.write("src/a", "x");
    fs::create_hard_link(disk_ / "src/a", disk_ / "src/b");
    importSource();
    succeed("cp /src/a /src/c");
    succeed("export /src " + disk_ / "out");
    EXPECT_TRUE(isOneFile("out/a", "out/b"));
    EXPECT_FALSE(isOneFile("out/a", "out/c"));
}

TEST_F(ExportKeptTest, RestoresUnchangedTimesToTheNanosecond) {
    disk_.write("src/f", "x");
    disk_.write("src/g", "x");
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 123456789}};
    for (const char* const name : {"src/f", "src/g", "src"}) {
        ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / name).c_str(), times, 0), 0);
    }
    importSource();
    succeed("touch /src/g");
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(statusOf(disk_ / "out/f").st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(statusOf(disk_ / "out").st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(statusOf(disk_ / "out/g").st_mtim.tv_nsec % 1000, 0);
    EXPECT_GT(statusOf(disk_ / "out/g").st_mtim.tv_sec, 1000000000);
}

TEST_F(ExportKeptTest, RestoresExtendedAttributes) {
    disk_.write("src/f", "x");
    for (const char* const name : {"src/f", "src"}) {
        if (::setxattr((disk_ / name).c_str(), "user.note", name, std::strlen(name), 0) != 0) {
            GTEST_SKIP() << "no extended attributes here: " << std::strerror(errno);
        }
    }
    importSource();
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(xattrOf(disk_ / "out/f", "user.note"), "src/f");
    EXPECT_EQ(xattrOf(disk_ / "out", "user.note"), "src");
    succeed("check /src " + disk_ / "out");
}

TEST_F(ExportKeptTest, RestoresHolesOfFilesThatHadSome) {
    constexpr std::size_t size = 8U << 20U;
    constexpr std::size_t middle = size / 2;
    disk_.write("src/dense", std::string(size, '\0'));
    disk_.write("src/sparse", "begin");
    {
        std::fstream sparse(disk_ / "src/sparse", std::ios::in | std::ios::out | std::ios::binary);
        sparse.seekp(middle);
        sparse << "middle";
    }
    fs::resize_file(disk_ / "src/sparse", size);
    if (statusOf(disk_ / "src/sparse").st_blocks * 512 > static_cast<blkcnt_t>(middle)) {
        GTEST_SKIP() << "this disk has no holes";
    }
    importSource();
    EXPECT_EQ(output(), "imported 1 folder, 2 files, 16777216 bytes\n");
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(readFile(disk_ / "out/sparse"), readFile(disk_ / "src/sparse"));
    EXPECT_EQ(statusOf(disk_ / "out/sparse").st_blocks, statusOf(disk_ / "src/sparse").st_blocks);
    EXPECT_EQ(statusOf(disk_ / "out/dense").st_blocks, statusOf(disk_ / "src/dense").st_blocks);
    succeed("check /src " + disk_ / "out");
}

TEST_F(ExportKeptTest, RestoresTheSizeOfAFileWithAHoleAtItsEnd) {
    disk_.write("src/f", "x");
    fs::resize_file(disk_ / "src/f", 1U << 20U);
    disk_.write("src/g", "");
    fs::resize_file(disk_ / "src/g", 1000001);
    importSource();
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(fs::file_size(disk_ / "out/f"), 1U << 20U);
    EXPECT_EQ(fs::file_size(disk_ / "out/g"), 1000001U);
    succeed("check /src " + disk_ / "out");
}

TEST_F(ExportKeptTest, RestoresOwnersForRoot) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    disk_.write("src/f", "x");
    fs::create_symlink("f", disk_ / "src/link");
    ASSERT_EQ(::mkfifo((disk_ / "src/fifo").c_str(), 0640), 0);
    const std::vector<std::string> names{"", "/f", "/link", "/fifo"};
    for (const std::string& name : names) {
        ASSERT_EQ(::lchown((disk_ / ("src" + name)).c_str(), 1234, 5678), 0);
    }
    importSource();
    succeed("export /src " + disk_ / "out");
    for (const std::string& name : names) {
        EXPECT_EQ(statusOf(disk_ / ("out" + name)).st_uid, 1234U) << name;
        EXPECT_EQ(statusOf(disk_ / ("out" + name)).st_gid, 5678U) << name;
    }
    EXPECT_EQ(statusOf(disk_ / "out/fifo").st_mode, S_IFIFO | 0640U);
}

TEST_F(ExportKeptTest, RemovesTheTemporaryLinkOfAKilledExport) {
    disk_.makeFolder("out");
    fs::create_symlink("x", disk_ / "out/.qzstorage-0123456789abcdef-0.part");
    succeed("export /a/f " + disk_ / "out");
    succeed("export / " + disk_ / "out");
    EXPECT_EQ(namesIn(disk_ / "out"), "a f");
}

TEST_F(ExportModeTest, KeepsAPartlyImportedFolderPrivate) {
    provider_->beforeWrite = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("import " + disk_ / "src/private" + " /part"), ExitStatus::Interrupted);
    provider_->beforeWrite = [] {};
    interruption_.clear();
    succeed("export /part " + disk_ / "out");
    EXPECT_EQ(modeOf("out"), 0700U);
}

TEST_F(ExportModeTest, SetsThePermissionsOfAPartlyExportedFolder) {
    fs::permissions(disk_ / "src/private", fs::perms(0750));
    succeed("import " + disk_ / "src" + " /again");
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("export /again/private " + disk_ / "out"), ExitStatus::Interrupted);
    provider_->beforeRead = [] {};
    interruption_.clear();
    EXPECT_EQ(modeOf("out"), 0750U);
    EXPECT_EQ(namesIn(disk_ / "out"), "");
}

TEST_F(ExportModeTest, KeepsPermissionsOfMovesAndCopies) {
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

TEST_F(ExportModeTest, ForgetsThePermissionsOfARemovedFile) {
    succeed("rm -f /src/private/secret");
    succeed("write /src/private/secret public");
    const mode_t mask = ::umask(022);
    ::umask(mask);
    succeed("export /src/private/secret " + disk_ / "out");
    EXPECT_EQ(modeOf("out"), 0666U & ~mask);
}

TEST_F(ExportModeTest, PrefersTheWritableFlag) {
    succeed("chmod -w /src/shared /src/private");
    succeed("export /src " + disk_ / "out");
    EXPECT_EQ(modeOf("out/shared"), 0444U);
    EXPECT_EQ(modeOf("out/private"), 0500U);
}

TEST_F(ExportModeTest, KeepsOwnerAndPermissionsOfAReplacedFile) {
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

TEST_F(ExportModeTest, HidesIncompleteFilesFromOtherUsers) {
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

TEST_F(ExportTest, RequiresAFolderForSeveralSources) {
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

TEST_F(ExportTest, ClearsWriteBitsOfReadOnlyEntries) {
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

TEST_F(ExportTest, FollowsALinkToTheTargetFolder) {
    disk_.makeFolder("elsewhere");
    fs::create_symlink("elsewhere", disk_ / "link");
    succeed("export / " + disk_ / "link");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "a");
    succeed("export /a/f " + disk_ / "link");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "a f");
}

TEST_F(ExportTest, RefusesALinkWithTheNameOfTheSource) {
    disk_.makeFolder("elsewhere");
    fs::create_symlink("elsewhere", disk_ / "a");
    EXPECT_EQ(fail("export /a " + disk_.path()),
              "qzstorage: export: " + disk_ / "a" + ": a symbolic link is in the way\n");
    EXPECT_EQ(namesIn(disk_ / "elsewhere"), "");
}

TEST_F(ExportTest, NamesAMissingSourceOrFolder) {
    EXPECT_EQ(fail("export /x " + disk_ / "out"), "qzstorage: export: /x: no such file or folder\n");
    EXPECT_EQ(fail("export /a " + disk_ / "x/y"),
              "qzstorage: export: " + disk_ / "x/y" + ": folder " + disk_ / "x" + " does not exist\n");
    EXPECT_EQ(fail("export /a/f " + disk_ / "x/y"),
              "qzstorage: export: " + disk_ / "x/y" + ": folder " + disk_ / "x" + " does not exist\n");
}

} // namespace

} // namespace storage::tests
