#include "tests/host/SessionTest.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <new>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class ImportTest : public SessionTest {
protected:
    void setTime(const std::string& path, time_t seconds, long nanoseconds) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
};

/// Takes away the rights of root, if the tests have them, so that permissions count.
class Unprivileged {
public:
    Unprivileged() : before_(::geteuid()) {
        if (before_ == 0) {
            EXPECT_EQ(::seteuid(65534), 0);
        }
    }
    ~Unprivileged() { EXPECT_EQ(::seteuid(before_), 0); }

private:
    uid_t before_;
};

TEST_F(ImportTest, BringsAWholeTreeAndCountsIt) {
    disk_.write("src/f", "one\n");
    disk_.write("src/s/g", "four");
    disk_.makeFolder("src/empty");
    EXPECT_EQ(succeed("import " + disk_ / "src" + " /new"), "imported 3 folders, 2 files, 8 bytes\n");
    EXPECT_EQ(succeed("find /"), "/\n/new\n/new/empty\n/new/f\n/new/s\n/new/s/g\n");
    EXPECT_EQ(succeed("cat /new/f /new/s/g"), "one\nfour");
}

TEST_F(ImportTest, GoesIntoAnExistingFolderUnderItsOwnName) {
    disk_.write("src/f", "one");
    disk_.write("g", "x");
    EXPECT_EQ(succeed("import " + disk_ / "src/" + " " + disk_ / "g" + " /"),
              "imported 1 folder, 2 files, 4 bytes\n");
    EXPECT_EQ(succeed("find /"), "/\n/g\n/src\n/src/f\n");
}

TEST_F(ImportTest, AFolderWithoutANameGivesItsContent) {
    disk_.write("src/f", "one");
    succeed("mkdir /d");
    succeed("import " + disk_ / "src/." + " /d");
    EXPECT_EQ(succeed("find /d"), "/d\n/d/f\n");
}

TEST_F(ImportTest, SeveralSourcesNeedAFolder) {
    disk_.write("f", "one");
    EXPECT_EQ(fail("import " + disk_ / "f" + " " + disk_ / "f" + " /x"),
              "qzstorage: import: /x: no such file or folder\n");
}

TEST_F(ImportTest, AMissingFolderForTheTargetIsAFailure) {
    disk_.write("f", "one");
    EXPECT_EQ(fail("import " + disk_ / "f" + " /x/y"), "qzstorage: import: /x/y: no such file or folder\n");
    EXPECT_EQ(fail("import " + disk_.path() + " /x/y"), "qzstorage: import: /x/y: no such file or folder\n");
    EXPECT_EQ(output(), "imported 0 folders, 0 files, 0 bytes\n");
}

TEST_F(ImportTest, AddsToWhatIsThereAndReplacesFiles) {
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

TEST_F(ImportTest, SkipsWhatAStorageHasNoPlaceFor) {
    disk_.write("src/f", "x");
    fs::create_symlink("f", disk_ / "src/link");
    ASSERT_EQ(::mkfifo((disk_ / "src/pipe").c_str(), 0600), 0);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    (disk_ / "src/sock").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(run("import " + disk_ / "src" + " /n"), ExitStatus::Success);
    ::close(socket);
    EXPECT_EQ(output(), "imported 1 folder, 1 file, 1 byte, skipped 3\n");
    EXPECT_EQ(errors(), "qzstorage: import: " + disk_ / "src/link" + ": skipped, a symbolic link\n" +
                            "qzstorage: import: " + disk_ / "src/pipe" + ": skipped, a fifo\n" +
                            "qzstorage: import: " + disk_ / "src/sock" + ": skipped, a socket\n");
}

TEST_F(ImportTest, FollowsALinkThatTheUserNames) {
    disk_.write("src/f", "x");
    fs::create_symlink("src", disk_ / "link");
    fs::create_symlink("src/f", disk_ / "file");
    succeed("import " + disk_ / "link" + " " + disk_ / "file" + " /");
    EXPECT_EQ(succeed("find /"), "/\n/file\n/link\n/link/f\n");
}

TEST_F(ImportTest, RefusesADeviceThatTheUserNames) {
    EXPECT_EQ(fail("import /dev/zero /z"), "qzstorage: import: /dev/zero: a device, not a file or folder\n");
}

TEST_F(ImportTest, NamesThatAreNotUtf8AreReportedAndTheRestGoesOn) {
    disk_.write("src/a\xFF", "x");
    disk_.write("src/b", "x");
    disk_.write("src/\xC3\xA4", "x");
    EXPECT_EQ(fail("import " + disk_ / "src" + " /n"),
              "qzstorage: import: " + disk_ / "src/a\\xFF" + ": the name is not UTF-8\n");
    EXPECT_EQ(output(), "imported 1 folder, 2 files, 2 bytes\n");
    EXPECT_EQ(succeed("ls /n"), "b\nä\n");
    EXPECT_EQ(fail("import " + disk_ / "src/a\xFF" + " /"),
              "qzstorage: import: " + disk_ / "src/a\\xFF" + ": the name is not UTF-8\n");
}

TEST_F(ImportTest, WhatCannotBeOpenedIsReportedAndTheRestGoesOn) {
    disk_.write("src/closed", "x");
    disk_.write("src/folder/f", "x");
    disk_.write("src/open", "x");
    fs::permissions(disk_ / "src/closed", fs::perms::none);
    fs::permissions(disk_ / "src/folder", fs::perms::none);
    fs::permissions(disk_.path(), fs::perms::all);
    const Unprivileged unprivileged;
    EXPECT_EQ(fail("import " + disk_ / "src" + " /n"),
              "qzstorage: import: " + disk_ / "src/closed" + ": Permission denied\n" +
                  "qzstorage: import: " + disk_ / "src/folder" + ": Permission denied\n");
    EXPECT_EQ(succeed("find /n"), "/n\n/n/open\n");
}

TEST_F(ImportTest, AFileWhoseReadingFailsIsNotThereAfterwards) {
    EXPECT_EQ(fail("import /proc/self/mem /m"), "qzstorage: import: /proc/self/mem: Input/output error\n");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(ImportTest, AFileThatDoesNotFitIsNotThereAfterwardsAndTheRestGoesOn) {
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

TEST_F(ImportTest, AnInterruptedImportKeepsWholeFilesOnly) {
    disk_.write("src/a", "whole");
    disk_.write("src/b", std::string(1 << 20, 'x'));
    disk_.write("src/c", "never reached");
    provider_->beforeWrite = [writes = 0]() mutable {
        if (++writes == 3) {
            std::raise(SIGINT);
        }
    };
    EXPECT_EQ(run("import " + disk_ / "src" + " /n"), ExitStatus::Interrupted);
    EXPECT_EQ(errors(), "qzstorage: import: interrupted\n");
    EXPECT_EQ(output(), "");
    interruption_.clear();
    EXPECT_EQ(succeed("find /n"), "/n\n/n/a\n");
    EXPECT_THAT(fail("check"), HasSubstr("/n/b: missing"));
}

TEST_F(ImportTest, AReadOnlyFileIsNotReplaced) {
    disk_.write("src/f", "new");
    succeed("write /f old");
    succeed("chmod -w /f");
    EXPECT_EQ(fail("import " + disk_ / "src/f" + " /"),
              "qzstorage: import: /f: read-only, or in a read-only folder\n");
    EXPECT_EQ(succeed("cat /f"), "old\n");
}

TEST_F(ImportTest, FilesLargerThanTheBufferComeWhole) {
    std::string content;
    for (int i = 0; i < 200000; ++i) {
        content += std::to_string(i) + '\n';
    }
    disk_.write("big", content);
    succeed("import " + disk_ / "big" + " /");
    EXPECT_EQ(succeed("cat /big"), content);
}

TEST_F(ImportTest, OddPathsAreRefusedWithTheirName) {
    EXPECT_EQ(fail("import '' /x"), "qzstorage: import: '': an empty path\n");
    EXPECT_EQ(fail("import " + disk_ / "none" + " /x"),
              "qzstorage: import: " + disk_ / "none" + ": No such file or directory\n");
    EXPECT_EQ(fail(std::string("import /tmp\0x /x", 16)),
              "qzstorage: import: /tmp\\x00x: a path on disk cannot contain NUL\n");
    EXPECT_EQ(fail("import /" + std::string(5000, 'x') + " /x"),
              "qzstorage: import: /" + std::string(5000, 'x') + ": File name too long\n");
}

} // namespace
