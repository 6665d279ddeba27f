#include "host/mount/UnmountProtocol.h"
#include "tests/host/mount/MountingTest.h"
#include "tests/support/ProcessState.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

/// `qzstorage unmount`, and the mounts that it ends.
class UnmountProgramTest : public MountingTest {
protected:
    static void expectRefused(const std::string& path, const std::string& reason) {
        const ProgramRun run({"unmount", path});
        EXPECT_EQ(run.status(), 1) << path;
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: unmount: [^\n]*\n")) << path;
        EXPECT_THAT(run.errors(), HasSubstr(reason)) << path;
    }

    const std::string out_ = disk_ / "out";
};

TEST_F(UnmountProgramTest, ReturnsAfterExportAndUnmount) {
    constexpr int files = 2000;
    expectSuccess(runMounted({"--export-on-exit", out_}, [&](pid_t) {
        for (int i = 0; i < files; ++i) {
            write(inside(std::to_string(i)), "content");
        }
        const ProgramRun run({"unmount", mountPoint_});
        EXPECT_FALSE(isMounted());
        EXPECT_EQ(std::distance(fs::directory_iterator(out_), {}), files);
        expectSuccess(run);
        EXPECT_EQ(run.output(), "");
    }));
}

TEST_F(UnmountProgramTest, EndsABusyMountWithoutAnExport) {
    expectSuccess(runMounted({}, [&](pid_t) {
        const std::ofstream held(inside("f"));
        expectSuccess(ProgramRun({"unmount", disk_ / "mount/../mount/"}));
        EXPECT_FALSE(isMounted());
    }));
}

TEST_F(UnmountProgramTest, ReportsAFailedExportAndRepeatsIt) {
    const ProgramRun mounting =
        runMounted({"--export-on-exit", out_, "--rescue", disk_ / "rescue"}, [&](pid_t) {
            write(inside("f"), "content");
            write(out_, "in the way");
            expectRefused(mountPoint_, "stays mounted: " + out_ + ": a file is in the way");
            EXPECT_TRUE(isMounted());
            write(inside("f"), "more content");
            fs::remove(out_);
            expectSuccess(ProgramRun({"unmount", mountPoint_}));
        });
    EXPECT_EQ(mounting.status(), 0);
    EXPECT_EQ(readFile(out_ + "/f"), "more content");
}

/// Returns whether the program has received a reply from the mount and waits before its next request.
bool pauses(pid_t process) {
    const std::string call = readFile("/proc/" + std::to_string(process) + "/syscall");
    return call.starts_with(std::to_string(SYS_clock_nanosleep) + ' ');
}

/// A stopped target delays the export.
TEST_F(UnmountProgramTest, ReportsAMountThatEndsBeforeEverythingIsExported) {
    if (!fs::exists("/proc/self/syscall")) {
        GTEST_SKIP() << "the kernel does not show the system calls of processes";
    }
    const std::string slow = disk_.makeFolder("slow");
    expectSuccess(runMountedAt(slow, {}, [&](pid_t target) {
        const ProgramRun mounting = runMounted({"--export-on-exit", slow + "/out"}, [&](pid_t process) {
            write(inside("f"), "content");
            stop(target);
            const ProgramRun run(
                {"unmount", mountPoint_}, "", [] {},
                [&](pid_t unmounting) {
                    EXPECT_TRUE(comesTrue([&] { return pauses(unmounting); }));
                    ::kill(process, SIGKILL);
                    ::kill(target, SIGCONT);
                });
            EXPECT_EQ(run.status(), 1);
            EXPECT_THAT(run.errors(), HasSubstr("the mount ended before everything was exported"));
        });
        EXPECT_EQ(mounting.status(), -SIGKILL);
        EXPECT_TRUE(unmount());
        ::kill(target, SIGTERM);
    }));
}

TEST_F(UnmountProgramTest, RefusesPathsThatAreNoMounts) {
    expectRefused(disk_ / "missing", "missing: No such file or directory");
    expectRefused(disk_.path(), "no storage is mounted there");
    expectRefused(disk_.write("file", ""), "file: Not a directory");
    expectSuccess(runMounted({}, [&](pid_t) {
        fs::create_directory(inside("below"));
        expectRefused(inside("below"), "no storage is mounted there");
        EXPECT_TRUE(isMounted());
        EXPECT_TRUE(unmount());
    }));
}

TEST_F(UnmountProgramTest, RefusesOtherUsers) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    constexpr uid_t somebody = 65534;
    fs::permissions(disk_.path(), fs::perms(0755));
    host::UnmountStatus status;
    expectSuccess(runMounted({"--allow-other"}, [&](pid_t) {
        host::ChildProcess stranger([&] {
            if (::setresuid(somebody, somebody, somebody) == 0) {
                const int folder = ::open(mountPoint_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                ::_exit(::ioctl(folder, host::startUnmounting, &status) == 0 ? 0 : errno);
            }
        });
        EXPECT_EQ(WEXITSTATUS(waitForEnd(stranger)), EPERM);
        EXPECT_TRUE(isMounted());
        expectSuccess(ProgramRun({"unmount", mountPoint_}));
    }));
}

TEST_F(UnmountProgramTest, ExportsHolesOfAnyLength) {
    constexpr off_t tebibyte = off_t{1} << 40;
    const std::string exported = disk_.makeFolder("exported");
    expectSuccess(runMounted({"--export-on-exit", exported}, [&](pid_t) {
        write(inside("sparse"), "data");
        EXPECT_EQ(::truncate(inside("sparse").c_str(), tebibyte), 0);
        expectSuccess(ProgramRun({"unmount", mountPoint_}));
    }));
    struct stat status {};
    EXPECT_EQ(::stat((exported + "/sparse").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, tebibyte);
    EXPECT_LE(status.st_blocks, 64);
}

TEST_F(UnmountProgramTest, KeepsTheOwnerOfExportedSetIdFiles) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    constexpr uid_t somebody = 65534;
    fs::permissions(disk_.path(), fs::perms(0755));
    const std::string exported = disk_.makeFolder("exported");
    expectSuccess(runMounted({"--allow-other", "--export-on-exit", exported}, [&](pid_t) {
        fs::permissions(mountPoint_, fs::perms(0777));
        host::ChildProcess stranger([&] {
            if (::setresgid(somebody, somebody, somebody) == 0 &&
                ::setresuid(somebody, somebody, somebody) == 0) {
                ::umask(0);
                const int file = ::open(inside("program").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 06755);
                ::_exit(file >= 0 && ::mkdir(inside("folder").c_str(), 02755) == 0 ? 0 : errno);
            }
        });
        EXPECT_EQ(WEXITSTATUS(waitForEnd(stranger)), 0);
        struct stat status {};
        EXPECT_EQ(::stat(inside("program").c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, somebody);
        EXPECT_EQ(status.st_gid, somebody);
        EXPECT_EQ(status.st_mode, S_IFREG | 06755U);
        expectSuccess(ProgramRun({"unmount", mountPoint_}));
    }));
    struct stat program {};
    EXPECT_EQ(::stat((exported + "/program").c_str(), &program), 0);
    EXPECT_EQ(program.st_mode, S_IFREG | 06755U);
    EXPECT_EQ(program.st_uid, somebody);
    EXPECT_EQ(program.st_gid, somebody);
    struct stat folder {};
    EXPECT_EQ(::stat((exported + "/folder").c_str(), &folder), 0);
    EXPECT_EQ(folder.st_mode, S_IFDIR | 0755U);
    EXPECT_EQ(folder.st_gid, somebody);
}

TEST_F(MountProgramTest, ReportsWrongUsageOfUnmountInOneLineWithStatusTwo) {
    for (const Words& words : {Words{"unmount"},
                               {"unmount", ""},
                               {"unmount", mountPoint_, "another"},
                               {"unmount", "--frobnicate", mountPoint_}}) {
        const ProgramRun run(words);
        EXPECT_EQ(run.status(), 2);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]* \\(try 'qzstorage unmount --help'\\)\n"));
        EXPECT_EQ(run.output(), "");
    }
}

} // namespace

} // namespace storage::tests
