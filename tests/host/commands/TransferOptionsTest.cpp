#include "tests/support/SessionTest.h"
#include "tests/support/TreeSnapshot.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A small project with entries that transfers usually exclude.
class TransferOptionsTest : public SessionTest {
protected:
    TransferOptionsTest() {
        disk_.write("src/README", "r");
        disk_.write("src/code/a.c", "aa");
        disk_.write("src/code/a.o", "oooo");
        disk_.write("src/code/deep/d.c", "ddd");
        disk_.write("src/build/x.c", "x");
        disk_.makeFolder("src/empty");
        source_ = disk_ / "src";
    }

    static void setTime(const std::string& path, time_t seconds, long nanoseconds) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }

    std::string source_;
};

TEST_F(TransferOptionsTest, ImportSkipsExcludedEntriesAndTheirContent) {
    EXPECT_EQ(succeed("import --exclude '*.o' --exclude /build " + source_ + " /p"),
              "imported 4 folders, 3 files, 6 bytes\n");
    EXPECT_EQ(succeed("find /p"), "/p\n/p/README\n/p/code\n/p/code/a.c\n/p/code/deep\n"
                                  "/p/code/deep/d.c\n/p/empty\n");
}

TEST_F(TransferOptionsTest, NeverOpensAnExcludedEntry) {
    ASSERT_EQ(::mkfifo((disk_ / "src/build/pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("build", (disk_ / "src/link").c_str()), 0);
    EXPECT_EQ(succeed("import --exclude build --exclude link --exclude code " + source_ + " /p"),
              "imported 2 folders, 1 file, 1 byte\n");
}

TEST_F(TransferOptionsTest, ImportTransfersIncludedEntriesAndTheirParents) {
    EXPECT_EQ(succeed("import --include '*.c' --exclude build/ " + source_ + " /p"),
              "imported 3 folders, 2 files, 5 bytes\n");
    EXPECT_EQ(succeed("find /p"), "/p\n/p/code\n/p/code/a.c\n/p/code/deep\n/p/code/deep/d.c\n");
    EXPECT_EQ(succeed("import --include code/ --exclude deep " + source_ + " /q"),
              "imported 2 folders, 2 files, 6 bytes\n");
    EXPECT_EQ(succeed("find /q"), "/q\n/q/code\n/q/code/a.c\n/q/code/a.o\n");
}

TEST_F(TransferOptionsTest, CreatesNothingWithoutAMatch) {
    EXPECT_EQ(succeed("import --include nothing " + source_ + " /p"),
              "imported 0 folders, 0 files, 0 bytes\n");
    EXPECT_EQ(succeed("find /"), "/\n");
}

TEST_F(TransferOptionsTest, MatchesOperandsByName) {
    EXPECT_EQ(succeed("import --exclude build --exclude README " + source_ + "/* /"),
              "imported 3 folders, 3 files, 9 bytes\n");
    EXPECT_EQ(succeed("import --include src " + source_ + " /all"),
              "imported 5 folders, 5 files, 11 bytes\n");
    succeed("mkdir /dot");
    EXPECT_EQ(succeed("import --exclude '*' " + source_ + "/. /dot"),
              "imported 1 folder, 0 files, 0 bytes\n");
}

TEST_F(TransferOptionsTest, ReportsAFolderThatCannotBeCreatedOnce) {
    succeed("write /code text");
    EXPECT_EQ(run("import --include '*.c' --include '*.o' " + source_ + "/. /"), ExitStatus::Failure);
    const std::string failures = errors();
    EXPECT_EQ(std::count(failures.begin(), failures.end(), '\n'), 1) << failures;
    EXPECT_EQ(succeed("find / -type f"), "/build/x.c\n/code\n");
}

TEST_F(TransferOptionsTest, CheckComparesSelectedEntries) {
    succeed("import --include '*.c' --exclude build " + source_ + " /p");
    EXPECT_EQ(succeed("check -t"), "check: 3 folders, 2 files, 5 bytes: equal\n");
    succeed("rm -r /p/code/deep");
    EXPECT_THAT(fail("check"), HasSubstr("/p/code/deep: missing, " + disk_ / "src/code/deep"));
    succeed("rm -r /p");
    succeed("import --include nothing " + source_ + " /p");
    disk_.write("src/code/new.c", "new");
    succeed("import --include '*.c' --exclude build " + source_ + " /p");
    disk_.write("src/code/late.c", "late");
    EXPECT_THAT(fail("check"), HasSubstr("/p/code/late.c: missing"));
    succeed("mv /p /moved");
    EXPECT_THAT(fail("check"), HasSubstr("/moved/code/late.c: missing"));
}

TEST_F(TransferOptionsTest, ExportTransfersSelectedEntries) {
    succeed("import " + source_ + " /p");
    EXPECT_EQ(succeed("export --include '*.c' --exclude build /p " + disk_ / "out"),
              "exported 3 folders, 2 files, 5 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out"), "code");
    EXPECT_EQ(namesIn(disk_ / "out/code"), "a.c deep");
    EXPECT_EQ(succeed("export --exclude /code/deep --exclude '*.o' /p " + disk_ / "out2"),
              "exported 4 folders, 3 files, 4 bytes\n");
    EXPECT_EQ(namesIn(disk_ / "out2"), "README build code empty");
    EXPECT_EQ(namesIn(disk_ / "out2/code"), "a.c");
    EXPECT_EQ(succeed("export --include nothing /p " + disk_ / "out3"),
              "exported 0 folders, 0 files, 0 bytes\n");
    EXPECT_FALSE(fs::exists(disk_ / "out3"));
}

TEST_F(TransferOptionsTest, UpdateImportsFilesWithAnotherSizeOrTime) {
    setTime(disk_ / "src/code/a.c", 1700000000, 123456789);
    setTime(disk_ / "src/README", 1700000000, 123456000);
    const std::string line = "import --update " + source_ + "/. /p";
    EXPECT_EQ(succeed(line), "imported 5 folders, 5 files, 11 bytes\n");
    EXPECT_EQ(succeed(line), "imported 5 folders, 0 files, 0 bytes, 5 unchanged\n");
    setTime(disk_ / "src/code/a.c", 1700000000, 123456788);
    EXPECT_EQ(succeed(line), "imported 5 folders, 1 file, 2 bytes, 4 unchanged\n");
    disk_.write("src/README", "longer");
    setTime(disk_ / "src/README", 1700000000, 123456000);
    EXPECT_EQ(succeed(line), "imported 5 folders, 1 file, 6 bytes, 4 unchanged\n");
    succeed("touch /p/README");
    EXPECT_EQ(succeed(line), "imported 5 folders, 1 file, 6 bytes, 4 unchanged\n");
    EXPECT_EQ(succeed("check -t"), "check: 5 folders, 5 files, 16 bytes: equal\n");
}

TEST_F(TransferOptionsTest, UpdateKeepsHardLinks) {
    fs::create_hard_link(disk_ / "src/README", disk_ / "src/second");
    const std::string line = "import --update " + source_ + "/. /p";
    EXPECT_EQ(succeed(line), "imported 5 folders, 6 files, 12 bytes\n");
    EXPECT_EQ(succeed(line), "imported 5 folders, 0 files, 0 bytes, 6 unchanged\n");
    fs::create_hard_link(disk_ / "src/README", disk_ / "src/third");
    EXPECT_EQ(succeed(line), "imported 5 folders, 1 file, 1 byte, 6 unchanged\n");
    fs::create_hard_link(disk_ / "src/README", disk_ / "src/A");
    EXPECT_EQ(succeed(line), "imported 5 folders, 4 files, 4 bytes, 4 unchanged\n");
    succeed("check");
}

TEST_F(TransferOptionsTest, UpdateExportsFilesWithAnotherSizeOrTime) {
    succeed("import " + source_ + "/. /p");
    const std::string line = "export --update /p " + disk_ / "out";
    EXPECT_EQ(succeed(line), "exported 5 folders, 5 files, 11 bytes\n");
    fs::rename(disk_ / "out", disk_ / "p");
    const std::string again = "export --update /p " + disk_.path();
    EXPECT_EQ(succeed(again), "exported 5 folders, 0 files, 0 bytes, 5 unchanged\n");
    setTime(disk_ / "p/README", 1700000000, 0);
    disk_.write("p/code/a.c", "longer");
    EXPECT_EQ(succeed(again), "exported 5 folders, 2 files, 3 bytes, 3 unchanged\n");
    EXPECT_EQ(readFile(disk_ / "p/code/a.c"), "aa");
}

TEST_F(TransferOptionsTest, DryRunPrintsAnImportAndChangesNothing) {
    succeed("mkdir /p");
    succeed("write /p/README old");
    const auto before = takeSnapshot(*provider_);
    EXPECT_EQ(succeed("import --dry-run --exclude code --exclude empty " + source_ + "/. /p"),
              "'" + source_ + "/./README' -> '/p/README'\n'" + source_ + "/./build' -> '/p/build'\n'" +
                  source_ + "/./build/x.c' -> '/p/build/x.c'\nwould import 2 folders, 2 files, 2 bytes\n");
    EXPECT_EQ(takeSnapshot(*provider_), before);
    EXPECT_THAT(fail("check"), HasSubstr("the session has imported nothing"));
}

TEST_F(TransferOptionsTest, DryRunPrintsAnExportAndChangesNothing) {
    succeed("import " + source_ + " /p");
    const std::string out = disk_.makeFolder("out/p/code");
    disk_.write("out/p/code/a.c", "old");
    EXPECT_EQ(succeed("export --dry-run --include '*.c' --exclude build /p " + disk_ / "out"),
              "'/p/code/a.c' -> '" + out + "/a.c'\n'/p/code/deep' -> '" + out +
                  "/deep'\n'/p/code/deep/d.c' -> '" + out +
                  "/deep/d.c'\nwould export 3 folders, 2 files, 5 bytes\n");
    EXPECT_EQ(readFile(out + "/a.c"), "old");
    EXPECT_EQ(namesIn(out), "a.c");
}

TEST_F(TransferOptionsTest, DryRunReportsConflicts) {
    succeed("mkdir /p");
    succeed("write /p/build text");
    EXPECT_THAT(fail("import --dry-run " + source_ + "/. /p"), HasSubstr("/p/build: a file is in the way"));
    succeed("rm -r /p");
    succeed("import " + source_ + " /p");
    disk_.write("out/p/build", "text");
    EXPECT_THAT(fail("export --dry-run /p " + disk_ / "out"),
                HasSubstr(disk_ / "out/p/build" + ": a file is in the way"));
}

TEST_F(TransferOptionsTest, QuietPrintsFailuresOnly) {
    ASSERT_EQ(::symlink("README", (disk_ / "src/link").c_str()), 0);
    EXPECT_EQ(succeed("import -q " + source_ + " /p"), "");
    EXPECT_EQ(succeed("export -q /p " + disk_ / "out"), "");
    EXPECT_EQ(succeed("import -q --dry-run --include README " + source_ + "/. /p"),
              "'" + source_ + "/./README' -> '/p/README'\n");
    EXPECT_THAT(fail("import -q " + disk_ / "missing" + " /q"), HasSubstr("missing: No such file"));
    EXPECT_EQ(output(), "");
}

TEST_F(TransferOptionsTest, RejectsAPatternThatMatchesNothing) {
    EXPECT_EQ(run("import --exclude '' " + source_ + " /p"), ExitStatus::Usage);
    EXPECT_THAT(errors(), HasSubstr("invalid pattern '': it matches no entry"));
}

} // namespace

} // namespace storage::tests
