#include "tests/support/SessionTest.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using foundation::storage::provider::StorageIRI;
using testing::HasSubstr;

class CheckTest : public SessionTest {
protected:
    CheckTest() {
        disk_.write("src/f", "one");
        disk_.write("src/s/g", std::string(600000, 'x'));
        succeed("import " + disk_ / "src" + " /n");
    }

    /// The reason of the only difference that a check finds.
    std::string difference(const std::string& line = "check") {
        const std::string line1 = fail(line);
        EXPECT_EQ(std::count(line1.begin(), line1.end(), '\n'), 1) << line1;
        EXPECT_THAT(output(), HasSubstr(": 1 difference\n"));
        return line1;
    }
};

TEST_F(CheckTest, FindsAnImportEqual) {
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
    EXPECT_EQ(difference(),
              "qzstorage: check: /n/s/g: differs from " + disk_ / "src/s/g" + " from byte 500000 on\n");
}

TEST_F(CheckTest, FindsFilesThatAreShorterOrLonger) {
    succeed("truncate -s 2 /n/f");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: differs from " + disk_ / "src/f" + " from byte 2 on\n");
    succeed("write /n/f one");
    EXPECT_EQ(difference(), "qzstorage: check: /n/f: differs from " + disk_ / "src/f" + " from byte 3 on\n");
}

TEST_F(CheckTest, FindsWhatIsMissingOnEitherSide) {
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

TEST_F(CheckTest, ComparesTimesOfFilesOnlyWhenAsked) {
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
    EXPECT_EQ(output(), "check: 2 folders, 1 file, 0 bytes: 3 differences\n");
}

TEST_F(CheckTest, LeavesOutWhatAnImportSkips) {
    fs::create_symlink("f", disk_ / "src/link");
    succeed("check");
    succeed("touch /n/link");
    EXPECT_EQ(difference(), "qzstorage: check: /n/link: not on disk\n");
}

TEST_F(CheckTest, ChecksEveryImportOfTheSessionEachAgainstItsOwnSource) {
    disk_.write("other/h", "1234567");
    succeed("import " + disk_ / "other" + " /n");
    EXPECT_EQ(succeed("check"), "check: 3 folders, 3 files, 600010 bytes: equal\n");
    succeed("rm /n/other/h");
    EXPECT_EQ(difference(), "qzstorage: check: /n/other/h: missing, " + disk_ / "other/h" + " is a file\n");
}

TEST_F(CheckTest, NeedsBothPathsOrNone) {
    EXPECT_EQ(run("check /n"), ExitStatus::Usage);
}

class CheckWithoutImportTest : public SessionTest {};

TEST_F(CheckWithoutImportTest, ProvesNothingAndSaysSo) {
    EXPECT_EQ(fail("check"), "qzstorage: check: nothing was imported that could be checked\n");
    EXPECT_EQ(output(), "");
}

} // namespace
