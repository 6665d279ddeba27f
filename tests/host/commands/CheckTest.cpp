#include "tests/support/SessionTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;
using testing::HasSubstr;

class CheckTest : public SessionTest {
protected:
    CheckTest() {
        disk_.write("src/f", "one");
        disk_.write("src/s/g", std::string(600000, 'x'));
        succeed("import " + disk_ / "src" + " /n");
    }

    /// Returns the message about the only difference that a check reports.
    std::string difference(const std::string& line = "check") {
        const std::string line1 = fail(line);
        EXPECT_EQ(std::count(line1.begin(), line1.end(), '\n'), 1) << line1;
        EXPECT_THAT(output(), HasSubstr(": 1 difference\n"));
        return line1;
    }
};

TEST_F(CheckTest, ReportsEqualityAfterAnImport) {
    EXPECT_EQ(succeed("check"), "check: 2 folders, 2 files, 600003 bytes: equal\n");
    EXPECT_EQ(succeed("check -t"), "check: 2 folders, 2 files, 600003 bytes: equal\n");
}

TEST_F(CheckTest, FollowsMovesOfTheTreeAndOfFoldersAboveIt) {
    succeed("mkdir /d");
    succeed("mv /n /d/m");
    succeed("mv /d /e");
    EXPECT_EQ(succeed("check"), "check: 2 folders, 2 files, 600003 bytes: equal\n");
}

TEST_F(CheckTest, ComparesAnyTreeWithAnyFolder) {
    succeed("export /n " + disk_ / "out");
    EXPECT_EQ(succeed("check /n " + disk_ / "out"), "check: 2 folders, 2 files, 600003 bytes: equal\n");
    EXPECT_EQ(succeed("check -t /n/s " + disk_ / "out/s"), "check: 1 folder, 1 file, 600000 bytes: equal\n");
    EXPECT_EQ(succeed("check /n/f " + disk_ / "out/f"), "check: 0 folders, 1 file, 3 bytes: equal\n");
    EXPECT_THAT(fail("check /n " + disk_ / "out/s"), HasSubstr("check: /n/f: not on disk"));
}

TEST_F(CheckTest, FindsAByteThatDiffers) {
    const auto stream = provider_->doOpenStream(StorageIRI(u"/n/s/g"), {});
    ASSERT_EQ(stream->seek(500000, std::ios_base::beg), std::streampos(500000));
    stream->write("y", 1);
    EXPECT_EQ(difference(), "qzstorage: check: /n/s/g: differs from " + disk_ / "src/s/g" +
                                " at byte 500001: 0x79, on disk 0x78\n");
    EXPECT_EQ(output(), "check: 2 folders, 2 files, 500003 bytes: 1 difference\n");
}

TEST_F(CheckTest, FindsFilesThatAreShorterOrLonger) {
    succeed("truncate -s 2 /n/f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: differs from " + disk_ / "src/f" +
                                " after byte 2: end of file in the storage; 2 bytes, on disk 3\n");
    succeed("write /n/f one");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: differs from " + disk_ / "src/f" +
                                " after byte 3: end of file on disk; 4 bytes, on disk 3\n");
    succeed("write /n/f oXX");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: differs from " + disk_ / "src/f" +
                                " at byte 2: 0x58, on disk 0x6E; 4 bytes, on disk 3\n");
}

TEST_F(CheckTest, ReportsEntriesMissingOnEitherSide) {
    succeed("rm /n/f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: missing, " + disk_ / "src/f" + " is a file\n");
    fs::remove(disk_ / "src/f");
    succeed("touch /n/new");
    EXPECT_EQ(difference(), "qzstorage: check: /n/new: not on disk\n");
    succeed("rm -r /n");
    EXPECT_EQ(difference(), "qzstorage: check: /n: no such file or folder\n");
    fs::remove_all(disk_ / "src");
    EXPECT_EQ(difference(), "qzstorage: check: " + disk_ / "src" + ": No such file or directory\n");
}

TEST_F(CheckTest, FindsOtherKinds) {
    succeed("rm /n/f");
    succeed("mkdir /n/f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: a folder, but " + disk_ / "src/f" + " is a file\n");
    EXPECT_EQ(difference("check /n/s/g " + disk_ / "src"),
              "qzstorage: check: /n/s/g: a file, but " + disk_ / "src" + " is a folder\n");
}

TEST_F(CheckTest, FindsAnotherWritableFlagOfAFile) {
    succeed("chmod -w /n/f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: read-only, but " + disk_ / "src/f" + " is writable\n");
}

TEST_F(CheckTest, ComparesTimesOfFilesOnlyWithItsOption) {
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 1000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / "src/f").c_str(), times, 0), 0);
    provider_->doSetLastModified(StorageIRI(u"/n/f"),
                                 boost::posix_time::ptime(boost::gregorian::date(2024, 2, 29)));
    succeed("check");
    EXPECT_EQ(difference("check -t"),
              "qzstorage: check: /n/f: modified 2024-02-29 00:00:00.000000 UTC, but " + disk_ / "src/f" +
                  " was modified 2001-09-09 01:46:40.000001 UTC\n");
}

TEST_F(CheckTest, ReportsEveryDifference) {
    succeed("rm /n/f");
    succeed("truncate -s 2 /n/s/g");
    succeed("touch /n/new");
    fail("check");
    EXPECT_EQ(output(), "check: 2 folders, 1 file, 2 bytes: 3 differences\n");
}

TEST_F(CheckTest, SkipsEntriesThatAnImportSkips) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const std::string name = disk_ / "src/sock";
    sockaddr_un address{AF_UNIX, {}};
    ASSERT_LT(name.size(), sizeof address.sun_path);
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(socket);
    EXPECT_EQ(succeed("check"), "check: 2 folders, 2 files, 600003 bytes, skipped 1: equal\n");
    succeed("touch /n/sock");
    EXPECT_EQ(difference(), "qzstorage: check: /n/sock: a file, but " + name + " is a socket\n");
}

TEST_F(CheckTest, ComparesTheTargetsOfLinks) {
    fs::create_symlink("f", disk_ / "src/link");
    EXPECT_EQ(difference(),
              "qzstorage: check: /n/link: missing, " + disk_ / "src/link" + " is a symbolic link\n");
    run("import " + disk_ / "src" + " /m");
    EXPECT_EQ(succeed("check /m " + disk_ / "src"),
              "check: 2 folders, 2 files, 600003 bytes, 1 symbolic link: equal\n");
    fs::remove(disk_ / "src/link");
    fs::create_symlink("s", disk_ / "src/link");
    EXPECT_EQ(difference("check /m " + disk_ / "src"),
              "qzstorage: check: /m/link: a symbolic link to 'f', but " + disk_ / "src/link" +
                  " points to 's'\n");
}

TEST_F(CheckTest, ComparesHardLinks) {
    fs::create_hard_link(disk_ / "src/f", disk_ / "src/g");
    succeed("import " + disk_ / "src" + " /m");
    succeed("check /m " + disk_ / "src");
    succeed("export /m " + disk_ / "out");
    succeed("check /m " + disk_ / "out");
    fs::remove(disk_ / "out/g");
    disk_.write("out/g", "one");
    EXPECT_EQ(difference("check /m " + disk_ / "out"), "qzstorage: check: /m/g: a hard link of /m/f, but " +
                                                           disk_ / "out/g" + " and " + disk_ / "out/f" +
                                                           " are two files\n");
    succeed("write /m/g one");
    succeed("truncate -s 3 /m/g");
    EXPECT_EQ(difference("check /m " + disk_ / "src"), "qzstorage: check: /m/g: a separate file, but " +
                                                           disk_ / "src/g" + " is a hard link of " +
                                                           disk_ / "src/f" + '\n');
    succeed("check /m " + disk_ / "out");
}

TEST_F(CheckTest, FindsThatHolesWereFilled) {
    const std::string file = disk_ / "src/f";
    const std::string copy = disk_ / "out/f";
    constexpr std::size_t size = 1U << 20U;
    fs::resize_file(file, size);
    succeed("import " + disk_ / "src" + " /m");
    succeed("export /m " + disk_ / "out");
    struct stat status {};
    ASSERT_EQ(::stat(copy.c_str(), &status), 0);
    if (status.st_blocks * 512 >= status.st_size) {
        GTEST_SKIP() << "this disk has no holes";
    }
    EXPECT_THAT(succeed("check /m " + disk_ / "out"), HasSubstr(": equal\n"));
    EXPECT_THAT(succeed("check /m " + disk_ / "src"), HasSubstr(": equal\n"));
    disk_.write("out/f", "one" + std::string(size - 3, '\0'));
    EXPECT_EQ(difference("check /m " + disk_ / "out"),
              "qzstorage: check: /m/f: a file with holes, but " + copy + " has none\n");
    disk_.write("src/f", "one" + std::string(size - 3, '\0'));
    EXPECT_THAT(fail("check"), HasSubstr("/m/f: a file with holes, but " + file + " has none\n"));
    // Without zeros there is nothing to be a hole.
    succeed("write /m/f " + std::string(5000, 'x'));
    disk_.write("out/f", std::string(5000, 'x') + '\n');
    EXPECT_THAT(succeed("check /m/f " + copy), HasSubstr(": equal\n"));
}

TEST_F(CheckTest, ComparesExtendedAttributes) {
    const std::string file = disk_ / "src/f";
    if (::setxattr(file.c_str(), "user.b", "1", 1, 0) != 0) {
        GTEST_SKIP() << "no extended attributes here: " << std::strerror(errno);
    }
    const std::string begin = "qzstorage: check: /m/f: extended attribute ";
    const std::string line = "check /m " + disk_ / "src";
    succeed("import " + disk_ / "src" + " /m");
    succeed(line);
    ASSERT_EQ(::setxattr(file.c_str(), "user.b", "2", 1, 0), 0);
    EXPECT_EQ(difference(line), begin + "user.b: another value in " + file + '\n');
    ASSERT_EQ(::removexattr(file.c_str(), "user.b"), 0);
    EXPECT_EQ(difference(line), begin + "user.b: missing in " + file + '\n');
    ASSERT_EQ(::setxattr(file.c_str(), "user.b", "1", 1, 0), 0);
    ASSERT_EQ(::setxattr(file.c_str(), "user.a", "1", 1, 0), 0);
    EXPECT_EQ(difference(line), begin + "user.a: only in " + file + '\n');
}

TEST_F(CheckTest, ComparesOwnersForRoot) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    ASSERT_EQ(::lchown((disk_ / "src/f").c_str(), 1234, 5678), 0);
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: owner 0:0, but " + disk_ / "src/f" + " has 1234:5678\n");
    succeed("import " + disk_ / "src" + " /m");
    succeed("export /m " + disk_ / "out");
    succeed("check /m " + disk_ / "out");
    ASSERT_EQ(::lchown((disk_ / "out/f").c_str(), 0, 0), 0);
    EXPECT_EQ(difference("check /m " + disk_ / "out"),
              "qzstorage: check: /m/f: owner 1234:5678, but " + disk_ / "out/f" + " has 0:0\n");
}

TEST_F(CheckTest, ComparesTimesToTheNanosecond) {
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / "src/f").c_str(), times, 0), 0);
    succeed("import " + disk_ / "src" + " /m");
    succeed("check -t /m " + disk_ / "src");
    const timespec other[2] = {{0, UTIME_OMIT}, {1000000000, 123456780}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / "src/f").c_str(), other, 0), 0);
    EXPECT_EQ(difference("check -t /m " + disk_ / "src"),
              "qzstorage: check: /m/f: modified 2001-09-09 01:46:40.123456789 UTC, but " + disk_ / "src/f" +
                  " was modified 2001-09-09 01:46:40.123456780 UTC\n");
}

TEST_F(CheckTest, FindsLinksInAnExport) {
    succeed("export /n " + disk_ / "out");
    fs::create_symlink("f", disk_ / "out/link");
    EXPECT_EQ(difference("check /n " + disk_ / "out"),
              "qzstorage: check: /n/link: missing, " + disk_ / "out/link" + " is a symbolic link\n");
    fs::rename(disk_ / "out/link", disk_ / "out/\xFF");
    EXPECT_EQ(difference("check /n " + disk_ / "out"),
              "qzstorage: check: /n/\\xFF: missing, " + disk_ / "out/\\xFF" + " is a symbolic link\n");
}

TEST_F(CheckTest, FindsAFolderThatBecameALinkAndDoesNotFollowIt) {
    succeed("export /n " + disk_ / "out");
    fs::rename(disk_ / "out/s", disk_ / "elsewhere");
    fs::create_symlink(disk_ / "elsewhere", disk_ / "out/s");
    EXPECT_EQ(difference("check /n " + disk_ / "out"),
              "qzstorage: check: /n/s: a folder, but " + disk_ / "out/s" + " is a symbolic link\n");
    fs::create_symlink(disk_ / "out", disk_ / "named");
    fs::remove(disk_ / "out/s");
    fs::rename(disk_ / "elsewhere", disk_ / "out/s");
    succeed("check /n " + disk_ / "named");
}

TEST_F(CheckTest, DoesNotFollowAFolderThatBecomesALinkMeanwhile) {
    disk_.write("src/s/h/last", "last");
    disk_.write("elsewhere/g", "other");
    disk_.write("elsewhere/h/last", "other");
    succeed("import " + disk_ / "src" + " /m");
    provider_->before = [&](const char*, const StorageIRI& iri) {
        if (iri == StorageIRI(u"/m/s/g") && !fs::is_symlink(disk_ / "src/s")) { // after the file was opened
            fs::rename(disk_ / "src/s", disk_ / "moved");
            fs::create_symlink(disk_ / "elsewhere", disk_ / "src/s");
        }
    };
    EXPECT_EQ(succeed("check /m " + disk_ / "src"), "check: 3 folders, 3 files, 600007 bytes: equal\n");
}

TEST_F(CheckTest, FindsAnotherWritableFlagOfAFolder) {
    fs::permissions(disk_ / "src/s", fs::perms::owner_write, fs::perm_options::remove);
    EXPECT_EQ(difference(), "qzstorage: check: /n/s: writable, but " + disk_ / "src/s" + " is read-only\n");
    EXPECT_EQ(difference("check /n " + disk_ / "src"),
              "qzstorage: check: /n/s: writable, but " + disk_ / "src/s" + " is read-only\n");
    fs::permissions(disk_ / "src/s", fs::perms::owner_write, fs::perm_options::add);
    succeed("chmod -w /n");
    EXPECT_EQ(difference(), "qzstorage: check: /n: read-only, but " + disk_ / "src" + " is writable\n");
}

TEST_F(CheckTest, FindsOtherPermissions) {
    ASSERT_EQ(::chmod((disk_ / "src/f").c_str(), 0640), 0);
    succeed("import " + disk_ / "src" + " /m");
    succeed("export /m " + disk_ / "out");
    succeed("check /m " + disk_ / "out");
    ASSERT_EQ(::chmod((disk_ / "out/f").c_str(), 0644), 0);
    EXPECT_EQ(difference("check /m " + disk_ / "out"),
              "qzstorage: check: /m/f: permissions 640, but " + disk_ / "out/f" + " has 644\n");
    ASSERT_EQ(::chmod((disk_ / "out/f").c_str(), 04640), 0);
    EXPECT_EQ(difference("check /m " + disk_ / "out"),
              "qzstorage: check: /m/f: permissions 640, but " + disk_ / "out/f" + " has 4640\n");
}

TEST_F(CheckTest, ComparesPermissionsThatANewFileHas) {
    succeed("export /n " + disk_ / "out");
    ASSERT_EQ(::chmod((disk_ / "out/f").c_str(), 0601), 0);
    EXPECT_THAT(difference("check /n " + disk_ / "out"), HasSubstr("but " + disk_ / "out/f" + " has 601\n"));
    ASSERT_EQ(::chmod((disk_ / "src/f").c_str(), 0601), 0);
    EXPECT_THAT(difference(), HasSubstr("but " + disk_ / "src/f" + " has 601\n"));
}

TEST_F(CheckTest, DoesNotComparePermissionsOfNewEntries) {
    disk_.write("out", "");
    ASSERT_EQ(::chmod((disk_ / "out").c_str(), 0600), 0);
    succeed("write /made text");
    succeed("export /made " + disk_ / "out");
    succeed("check /made " + disk_ / "out");
}

TEST_F(CheckTest, ReportsTheWritableFlagOnlyOnce) {
    ASSERT_EQ(::chmod((disk_ / "src/f").c_str(), 0464), 0);
    succeed("import " + disk_ / "src" + " /m");
    succeed("export /m " + disk_ / "out");
    succeed("check /m " + disk_ / "out");
    succeed("check /m " + disk_ / "src");
    succeed("chmod +w /m/f");
    EXPECT_EQ(difference("check /m " + disk_ / "out"),
              "qzstorage: check: /m/f: writable, but " + disk_ / "out/f" + " is read-only\n");
    succeed("export /m/f " + disk_ / "f");
    succeed("check /m/f " + disk_ / "f");
}

TEST_F(CheckTest, ComparesTimesOfFoldersOnlyWithItsOption) {
    succeed("export /n " + disk_ / "out");
    succeed("touch /n/s");
    succeed("check");
    EXPECT_THAT(difference("check -t"), HasSubstr("check: /n/s: modified "));
    EXPECT_THAT(difference("check -t /n " + disk_ / "out"), HasSubstr("check: /n/s: modified "));
}

TEST_F(CheckTest, DoesNotCompareAttributesThatTheRootNeverGets) {
    disk_.makeFolder("out");
    succeed("export / " + disk_ / "out");
    fs::permissions(disk_ / "out", fs::perms::owner_write, fs::perm_options::remove);
    succeed("check -t / " + disk_ / "out");
}

TEST_F(CheckTest, ChecksEveryImportOfTheSessionEachAgainstItsOwnSource) {
    disk_.write("other/h", "1234567");
    succeed("import " + disk_ / "other" + " /n");
    EXPECT_EQ(succeed("check"), "check: 3 folders, 3 files, 600010 bytes: equal\n");
    succeed("rm /n/other/h");
    EXPECT_EQ(difference(), "qzstorage: check: /n/other/h: missing, " + disk_ / "other/h" + " is a file\n");
}

TEST_F(CheckTest, ComparesImportsIntoAnotherImport) {
    disk_.write("single", "1234567");
    succeed("import " + disk_ / "single" + " /n/s/single");
    EXPECT_EQ(succeed("check -t"), "check: 2 folders, 3 files, 600010 bytes: equal\n");
    succeed("export /n " + disk_ / "out");
    succeed("check -t /n " + disk_ / "out");
    fs::remove(disk_ / "out/s/single");
    EXPECT_EQ(difference("check /n " + disk_ / "out"), "qzstorage: check: /n/s/single: not on disk\n");
    succeed("write /n/s/single 12345678");
    EXPECT_THAT(difference(), HasSubstr("/n/s/single: differs from " + disk_ / "single" +
                                        " after byte 7: end of file on disk"));
    succeed("rm /n/s/single");
    EXPECT_EQ(difference(), "qzstorage: check: /n/s/single: missing, " + disk_ / "single" + " is a file\n");
    fs::remove(disk_ / "single");
    EXPECT_EQ(difference(), "qzstorage: check: " + disk_ / "single" + ": No such file or directory\n");
    succeed("rm -r /n/s");
    EXPECT_EQ(difference(), "qzstorage: check: /n/s: missing, " + disk_ / "src/s" + " is a folder\n");
}

TEST_F(CheckTest, ComparesImportsIntoOneFolderAsOneTree) {
    disk_.write("other/f", "another");
    disk_.write("other/s/h", "h");
    disk_.write("third/s/h", "third");
    succeed("import " + disk_ / "other/." + " /n");
    succeed("import " + disk_ / "third/." + " /n");
    EXPECT_EQ(succeed("check -t"), "check: 2 folders, 3 files, 600012 bytes: equal\n");
    succeed("write /n/f one");
    EXPECT_THAT(difference(), HasSubstr("/n/f: differs from " + disk_ / "other/f at byte 1"));
    succeed("import " + disk_ / "src/." + " /n");
    succeed("check -t");
    fs::remove(disk_ / "third/s/h");
    EXPECT_THAT(difference(), HasSubstr("/n/s/h: differs from " + disk_ / "other/s/h at byte 1"));
    fs::remove_all(disk_ / "third");
    EXPECT_THAT(fail("check"), HasSubstr(disk_ / "third: No such file or directory\n"));
}

TEST_F(CheckTest, ComparesAFileThatReplacesAnImport) {
    disk_.write("other", "another");
    succeed("import " + disk_ / "other" + " /n/f");
    succeed("check");
    succeed("import " + disk_ / "src/f" + " /n/f");
    succeed("check");
    succeed("import " + disk_ / "other" + " /other");
    succeed("mv -f /other /n/f");
    succeed("check");
    succeed("import " + disk_ / "src/f" + " /f");
    succeed("mv -f /n/f /f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: missing, " + disk_ / "src/f" + " is a file\n");
}

TEST_F(CheckTest, RequiresNoCounterpartOfAFolderThatContainsAnImport) {
    disk_.write("single", "single");
    succeed("mkdir -p /n/made/below");
    succeed("import " + disk_ / "single" + " /n/made/below/single");
    EXPECT_EQ(succeed("check"), "check: 4 folders, 3 files, 600009 bytes: equal\n");
    succeed("touch /n/made/more");
    EXPECT_EQ(difference(), "qzstorage: check: /n/made/more: not on disk\n");
    succeed("rm -r /n/made");
    EXPECT_EQ(difference(),
              "qzstorage: check: /n/made: missing; a folder with imported entries was expected\n");
    succeed("touch /n/made");
    EXPECT_EQ(difference(),
              "qzstorage: check: /n/made: a file; a folder with imported entries was expected\n");
}

TEST_F(CheckTest, IgnoresAttributesOfAFolderThatWasOnlyFilled) {
    ASSERT_EQ(::chmod((disk_ / "src").c_str(), 0555), 0);
    succeed("mkdir /m");
    succeed("import " + disk_ / "src/." + " /m");
    EXPECT_THAT(difference("check -t"), HasSubstr("/n: writable, but ")) << "but nothing of /m";
}

TEST_F(CheckTest, FollowsALinkThatWasImportedByItsName) {
    fs::create_directory_symlink(disk_ / "src/s", disk_ / "link");
    succeed("import " + disk_ / "link" + " /m");
    succeed("import " + disk_ / "link/../f" + " /f");
    EXPECT_EQ(succeed("check"), "check: 3 folders, 4 files, 1200006 bytes: equal\n");
}

TEST_F(CheckTest, RequiresBothPathsOrNone) {
    EXPECT_EQ(run("check /n"), ExitStatus::Usage);
}

class CheckWithoutImportTest : public SessionTest {};

TEST_F(CheckWithoutImportTest, FailsBecauseThereIsNothingToCompare) {
    EXPECT_EQ(fail("check"), "qzstorage: check: nothing to compare: the session has imported nothing, or "
                             "only archives, which cannot be compared\n");
    EXPECT_EQ(output(), "");
}

} // namespace

} // namespace storage::tests
