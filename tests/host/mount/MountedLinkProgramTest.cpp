#include "tests/host/mount/MountingTest.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;

/// Hard links as programs use them.
class MountedLinkProgramTest : public MountingTest {
protected:
    static nlink_t linksOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_nlink;
    }
};

TEST_F(MountedLinkProgramTest, AddsAndRemovesNamesOneByOne) {
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        fs::create_directory(inside("d"));
        write(inside("f"), "content");
        ASSERT_EQ(::link(inside("f").c_str(), inside("d/g").c_str()), 0);
        EXPECT_EQ(linksOf(inside("f")), 2U);
        EXPECT_EQ(linksOf(inside("d/g")), 2U);
        write(inside("f"), "changed");
        EXPECT_TRUE(runs("grep -qx changed " + inside("d/g")));
        EXPECT_EQ(::link(inside("f").c_str(), inside("d/g").c_str()), -1);
        EXPECT_EQ(errno, EEXIST);
        EXPECT_EQ(::link(inside("d").c_str(), inside("e").c_str()), -1);
        EXPECT_EQ(errno, EPERM);
        EXPECT_EQ(::rename(inside("f").c_str(), inside("d/g").c_str()), 0);
        EXPECT_EQ(linksOf(inside("f")), 2U) << "renamed to a name of the same file";
        EXPECT_EQ(::unlink(inside("f").c_str()), 0);
        EXPECT_EQ(linksOf(inside("d/g")), 1U);
        EXPECT_TRUE(runs("grep -qx changed " + inside("d/g")));
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

TEST_F(MountedLinkProgramTest, ExportsALinkedFileUnderARemainingName) {
    const std::string out = disk_ / "out";
    const ProgramRun run = runMounted({"--export-on-exit", out}, [&](pid_t process) {
        write(inside("f"), "content");
        fs::create_hard_link(inside("f"), inside("g"));
        fs::remove(inside("f"));
        fs::create_hard_link(inside("g"), inside("h"));
        ::kill(process, SIGTERM);
    });
    EXPECT_EQ(run.status(), 0);
    EXPECT_TRUE(runs("grep -qx content " + out + "/g"));
}

TEST_F(MountedLinkProgramTest, KeepsLinksWhenProgramsCopy) {
    const std::string tree = disk_.makeFolder("tree");
    EXPECT_TRUE(
        runs("cd " + tree + " && mkdir d && echo content >d/f && ln d/f g && ln -s g s && ln -P s d/s"));
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        EXPECT_TRUE(runs("cp -a " + tree + " " + inside("copied")));
        EXPECT_TRUE(runs("tar cf - -C " + disk_.path() + " tree | tar xf - -C " + mountPoint_));
        for (const std::string copy : {"copied", "tree"}) {
            EXPECT_TRUE(runs("diff -r --no-dereference " + tree + " " + inside(copy)));
            EXPECT_TRUE(fs::equivalent(inside(copy + "/d/f"), inside(copy + "/g")));
            EXPECT_EQ(linksOf(inside(copy + "/g")), 2U);
            EXPECT_EQ(linksOf(inside(copy + "/s")), 2U);
        }
        EXPECT_TRUE(runs("cp -al " + inside("copied") + " " + inside("linked")));
        EXPECT_EQ(linksOf(inside("linked/g")), 4U);
        EXPECT_TRUE(runs("rm -r " + inside("copied")));
        EXPECT_EQ(linksOf(inside("linked/g")), 2U);
        EXPECT_TRUE(runs("grep -qx content " + inside("linked/d/f")));
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

TEST_F(MountedLinkProgramTest, CountsSubfolders) {
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        fs::create_directories(inside("d/s"));
        EXPECT_EQ(linksOf(mountPoint_), 3U);
        EXPECT_EQ(linksOf(inside("d")), 3U);
        fs::create_directory(inside("d/t"));
        EXPECT_EQ(linksOf(inside("d")), 4U);
        fs::rename(inside("d/t"), inside("t"));
        fs::remove(inside("d/s"));
        EXPECT_EQ(linksOf(inside("d")), 2U);
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

TEST_F(MountedLinkProgramTest, ExchangesNamesAndLeavesWhiteouts) {
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        write(inside("f"), "file");
        fs::create_directory(inside("d"));
        write(inside("d/below"), "below");
        const std::string file = inside("f");
        const std::string folder = inside("d");
        EXPECT_EQ(::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, folder.c_str(), RENAME_EXCHANGE), 0);
        EXPECT_TRUE(runs("grep -qx file " + folder));
        EXPECT_TRUE(runs("grep -qx below " + file + "/below"));
        EXPECT_EQ(linksOf(file), 2U);
        EXPECT_EQ(::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, inside("g").c_str(), RENAME_WHITEOUT), 0);
        struct stat status {};
        ASSERT_EQ(::lstat(folder.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, mode_t{S_IFCHR});
        EXPECT_EQ(status.st_rdev, 0U);
        EXPECT_EQ(::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, folder.c_str(), RENAME_NOREPLACE), -1);
        EXPECT_EQ(errno, EEXIST);
        EXPECT_TRUE(runs("grep -qx file " + inside("g")));
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

TEST_F(MountedLinkProgramTest, LinksAFileWithoutAName) {
    const ProgramRun run = runMounted({}, [&](pid_t process) {
        fs::create_directory(inside("d"));
        const int file = ::open(inside("d").c_str(), O_TMPFILE | O_RDWR, 0640);
        ASSERT_GE(file, 0);
        EXPECT_EQ(::write(file, "content\n", 8), 8);
        EXPECT_TRUE(fs::is_empty(inside("d")));
        struct stat status {};
        EXPECT_EQ(::fstat(file, &status), 0);
        EXPECT_EQ(status.st_nlink, 0U);
        EXPECT_EQ(status.st_mode & 07777U, 0640U & ~::umask(022));
        const std::string opened = "/proc/self/fd/" + std::to_string(file);
        EXPECT_EQ(::linkat(AT_FDCWD, opened.c_str(), AT_FDCWD, inside("named").c_str(), AT_SYMLINK_FOLLOW),
                  0);
        EXPECT_EQ(linksOf(inside("named")), 1U);
        EXPECT_EQ(::write(file, "more\n", 5), 5);
        ::close(file);
        EXPECT_TRUE(runs("grep -qx content " + inside("named") + " && grep -qx more " + inside("named")));
        const int exclusive = ::open(mountPoint_.c_str(), O_TMPFILE | O_EXCL | O_WRONLY, 0600);
        ASSERT_GE(exclusive, 0);
        const std::string unlinkable = "/proc/self/fd/" + std::to_string(exclusive);
        EXPECT_EQ(::linkat(AT_FDCWD, unlinkable.c_str(), AT_FDCWD, inside("x").c_str(), AT_SYMLINK_FOLLOW),
                  -1);
        EXPECT_EQ(errno, ENOENT);
        ::close(exclusive);
        ::kill(process, SIGINT);
    });
    expectSuccess(run);
}

} // namespace

} // namespace storage::tests
