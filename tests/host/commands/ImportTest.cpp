#include "tests/support/SessionTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <new>
#include <sys/stat.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;
using testing::HasSubstr;

class ImportTest : public SessionTest {
protected:
    void setTime(const std::string& path, time_t seconds, long nanoseconds) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
};

TEST_F(ImportTest, ImportsAndCountsATree) {
    disk_.write("src/f", "one\n");
    disk_.write("src/s/g", "four");
    disk_.makeFolder("src/empty");
    EXPECT_EQ(succeed("import " + disk_ / "src" + " /new"), "imported 3 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(succeed("find /"), "/\n/new\n/new/empty\n/new/f\n/new/s\n/new/s/g\n");
    EXPECT_EQ(succeed("cat /new/f /new/s/g"), "one\nfour");
}

TEST_F(ImportTest, ImportsIntoAnExistingFolderUnderItsOwnName) {
    disk_.write("src/f", "one");
    disk_.write("g", "x");
    EXPECT_EQ(succeed("import " + disk_ / "src/" + " " + disk_ / "g" + " /"),
              "imported 1 folder, 2 files, 4 bytes\n");
    EXPECT_EQ(succeed("find /"), "/\n/g\n/src\n/src/f\n");
}

TEST_F(ImportTest, ImportsTheContentOfAFolderWithoutAName) {
    disk_.write("src/f", "one");
    succeed("mkdir /d");
    succeed("import " + disk_ / "src/." + " /d");
    EXPECT_EQ(succeed("find /d"), "/d\n/d/f\n");
}

TEST_F(ImportTest, RequiresAFolderForSeveralSources) {
    disk_.write("f", "one");
    EXPECT_EQ(fail("import " + disk_ / "f" + " " + disk_ / "f" + " /x"),
              "qzstorage: import: /x: no such file or folder\n");
}

TEST_F(ImportTest, FailsIfTheFolderOfTheTargetIsMissing) {
    disk_.write("f", "one");
    EXPECT_EQ(fail("import " + disk_ / "f" + " /x/y"), "qzstorage: import: /x/y: folder /x does not exist\n");
    EXPECT_EQ(fail("import " + disk_.path() + " /x/y"),
              "qzstorage: import: /x/y: folder /x does not exist\n");
    EXPECT_EQ(output(), "imported 0 folders, 0 files, 0 bytes\n");
}

TEST_F(ImportTest, MergesIntoFoldersAndReplacesFiles) {
    disk_.write("src/f", "new");
    succeed("mkdir /src");
    succeed("write /src/f a long old line");
    succeed("write /src/g kept");
    succeed("import " + disk_ / "src" + " /");
    EXPECT_EQ(succeed("cat /src/f /src/g"), "newkept\n");
}

TEST_F(ImportTest, KeepsTimesToTheMicrosecond) {
    disk_.write("src/s/f", "x");
    setTime(disk_ / "src/s/f", 1709211909, 123456789);
    setTime(disk_ / "src/s", 1000000000, 1999);
    setTime(disk_ / "src", -1, 0);
    succeed("import " + disk_ / "src" + " /n");
    EXPECT_THAT(succeed("stat /n/s/f"), HasSubstr("modified: 2024-02-29 13:05:09.123456 UTC"));
    EXPECT_THAT(succeed("stat /n/s"), HasSubstr("modified: 2001-09-09 01:46:40.000001 UTC"));
    EXPECT_THAT(succeed("stat /n"), HasSubstr("modified: 1969-12-31 23:59:59.000000 UTC"));
}

TEST_F(ImportTest, ReportsTimesThatAStorageCannotStore) {
    constexpr time_t year10000 = 253402300800;
    disk_.write("src/f", "x");
    setTime(disk_ / "src/f", year10000, 0);
    struct stat status {};
    ASSERT_EQ(::stat((disk_ / "src/f").c_str(), &status), 0);
    if (status.st_mtim.tv_sec != year10000) {
        GTEST_SKIP() << "this disk does not keep such a time either";
    }
    EXPECT_EQ(run("import " + disk_ / "src" + " /n"), ExitStatus::Success);
    EXPECT_EQ(errors(), "qzstorage: import: " + disk_ / "src/f" +
                            ": time outside the years 1400 to 9999, stored as 9999-12-31 23:59:59\n");
    EXPECT_THAT(succeed("stat /n/f"), HasSubstr("modified: 9999-12-31 23:59:59.999999 UTC"));
}

TEST_F(ImportTest, KeepsTheWritableFlagAlsoOfFoldersThatHoldSomething) {
    disk_.write("src/s/f", "x");
    disk_.write("src/g", "x");
    fs::permissions(disk_ / "src/s/f", fs::perms::owner_read);
    fs::permissions(disk_ / "src/s", fs::perms::owner_read | fs::perms::owner_exec);
    succeed("import " + disk_ / "src" + " /n");
    EXPECT_THAT(succeed("stat /n/s/f"), HasSubstr("writable: no"));
    EXPECT_THAT(succeed("stat /n/s"), HasSubstr("writable: no"));
    EXPECT_THAT(succeed("stat /n/g"), HasSubstr("writable: yes"));
    EXPECT_THAT(succeed("stat /n"), HasSubstr("writable: yes"));
}

TEST_F(ImportTest, LeavesTheFlagOfAFolderThatItOnlyFills) {
    disk_.write("src/f", "x");
    setTime(disk_ / "src", 1000000000, 0);
    fs::permissions(disk_ / "src", fs::perms::owner_read | fs::perms::owner_exec);
    succeed("import " + disk_ / "src/." + " /");
    EXPECT_THAT(succeed("stat /"), HasSubstr("writable: yes"));
    EXPECT_THAT(succeed("stat /"), testing::Not(HasSubstr("2001-09-09")));
}

TEST_F(ImportTest, RemovesAFileThatDoesNotFitAndContinues) {
    disk_.write("src/a", std::string(1 << 20, 'x'));
    disk_.write("src/b", "x");
    provider_->beforeWrite = [writes = 0]() mutable {
        if (++writes == 3) {
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(fail("import " + disk_ / "src" + " /n"),
              "qzstorage: import: " + disk_ / "src/a" + ": out of memory\n");
    EXPECT_EQ(succeed("find /n"), "/n\n/n/b\n");
}

TEST_F(ImportTest, ReplacesAReadOnlyFile) {
    disk_.write("src/f", "new");
    succeed("write /f old");
    succeed("chmod -w /f");
    succeed("import " + disk_ / "src/f" + " /");
    EXPECT_EQ(succeed("cat /f"), "new");
    EXPECT_THAT(succeed("stat /f"), HasSubstr("writable: yes"));
}

TEST_F(ImportTest, ImportsReadOnlyFoldersAgain) {
    disk_.write("src/s/f", "one");
    fs::permissions(disk_ / "src/s", fs::perms::owner_read | fs::perms::owner_exec);
    succeed("import " + disk_ / "src" + " /");
    fs::permissions(disk_ / "src/s", fs::perms::owner_all);
    disk_.write("src/s/f", "two");
    disk_.write("src/s/g", "three");
    fs::permissions(disk_ / "src/s", fs::perms::owner_read | fs::perms::owner_exec);
    succeed("import " + disk_ / "src" + " /");
    EXPECT_EQ(succeed("cat /src/s/f /src/s/g"), "twothree");
    EXPECT_THAT(succeed("stat /src/s"), HasSubstr("writable: no"));

    provider_->beforeWrite = [this] { interruption_.clear(), std::raise(SIGINT); };
    EXPECT_EQ(run("import " + disk_ / "src" + " /"), ExitStatus::Interrupted);
    interruption_.clear();
    EXPECT_THAT(succeed("stat /src/s"), HasSubstr("writable: no")) << "after an interruption";
}

/// A read-only file in the storage with its own time, and a file on the disk that replaces it.
class ReplacingImportTest : public ImportTest {
protected:
    ReplacingImportTest() {
        disk_.write("old", "old");
        setTime(disk_ / "old", 1000000000, 0);
        fs::permissions(disk_ / "old", fs::perms::owner_read);
        succeed("mkdir /d");
        succeed("import " + disk_ / "old" + " /d/f");
        before_ = succeed("stat /d/f");
        disk_.write("new", std::string(1 << 20, 'x'));
    }

    void expectAsBefore() {
        provider_->before = [](const char*, const StorageIRI&) {};
        interruption_.clear();
        EXPECT_EQ(succeed("find /d"), "/d\n/d/f\n");
        EXPECT_EQ(succeed("cat /d/f"), "old");
        EXPECT_EQ(succeed("stat /d/f"), before_);
    }

    std::string line() const { return "import " + disk_ / "new" + " /d/f"; }

    std::string before_;
};

TEST_F(ReplacingImportTest, KeepsTheOldFileAfterAFailureAtAnyCall) {
    for (const std::string operation : {"createFile", "openStream", "write", "setWritable", "moveFile"}) {
        SCOPED_TRACE(operation);
        provider_->before = [&operation, done = false](const std::string& called, const StorageIRI&) mutable {
            if (called == operation && !done) {
                done = true;
                throw std::runtime_error("torn");
            }
        };
        EXPECT_THAT(fail(line()), HasSubstr("torn"));
        expectAsBefore();
    }
}

TEST_F(ReplacingImportTest, KeepsTheOldFileAfterAnInterruption) {
    provider_->before = [&](const std::string& called, const StorageIRI&) {
        if (called == "write") {
            std::raise(SIGINT);
        }
    };
    EXPECT_EQ(run(line()), ExitStatus::Interrupted);
    expectAsBefore();
}

TEST_F(ReplacingImportTest, KeepsTheOldFileWithoutSpaceForBoth) {
    provider_->before = [&](const std::string& called, const StorageIRI&) {
        if (called == "write") {
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(fail(line()),
              "qzstorage: import: " + disk_ / "new" +
                  ": out of memory: the old content of /d/f is kept until the new one is complete, and there "
                  "is no memory for both\n");
    expectAsBefore();
}

TEST_F(ReplacingImportTest, RefusesToReplaceAFileOfAReadOnlyFolder) {
    succeed("chmod -w /d");
    EXPECT_EQ(fail(line()), "qzstorage: import: /d/f: the file and folder /d are read-only\n");
    expectAsBefore();
}

TEST_F(ReplacingImportTest, KeepsAnEntryWithTheTemporaryName) {
    succeed("write /d/.qzstorage-import-0 mine");
    succeed(line());
    EXPECT_EQ(succeed("cat /d/.qzstorage-import-0"), "mine\n");
    EXPECT_EQ(succeed("find /d"), "/d\n/d/.qzstorage-import-0\n/d/f\n");
}

TEST_F(ImportTest, ImportsFilesLargerThanTheBuffer) {
    std::string content;
    for (int i = 0; i < 200000; ++i) {
        content += std::to_string(i) + '\n';
    }
    disk_.write("big", content);
    succeed("import " + disk_ / "big" + " /");
    EXPECT_EQ(succeed("cat /big"), content);
}

TEST_F(ImportTest, RejectsInvalidPaths) {
    EXPECT_EQ(fail("import '' /x"), "qzstorage: import: '': empty path\n");
    EXPECT_EQ(fail("import " + disk_ / "none" + " /x"),
              "qzstorage: import: " + disk_ / "none" + ": No such file or directory\n");
    EXPECT_EQ(fail(std::string("import /tmp\0x /x", 16)),
              "qzstorage: import: /tmp\\x00x: a path on disk cannot contain NUL\n");
    EXPECT_EQ(fail("import /" + std::string(4500, 'x') + " /x"),
              "qzstorage: import: /" + std::string(4500, 'x') + ": File name too long\n");
}

} // namespace

} // namespace storage::tests
