#include "tests/host/mount/MountingTest.h"
#include "tests/support/ProcessState.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using host::ChildProcess;
using testing::HasSubstr;

/// Ending a mount: everything that programs wrote is exported before the unmount.
class MountEndingTest : public MountingTest {
protected:
    const std::string out_ = disk_ / "out";
    const std::string rescue_ = disk_ / "state/rescue";
    const Words exporting_{"--export-on-exit", out_, "--rescue", rescue_};

    /// Returns the folder of a mount below the rescue folder.
    std::string rescued() const { return rescue_ + '/' + namesIn(rescue_); }
};

/// Returns the output of a running program to its standard error stream.
std::string errorsOf(pid_t process) {
    return readFile("/proc/" + std::to_string(process) + "/fd/2");
}

/// Appends lines to a file until an append fails. Writes the number of accepted lines, and the error, to
/// another file.
void appendLines(const std::string& path, const std::string& report) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    unsigned long accepted = 0;
    while (::write(file, "line\n", 5) == 5) {
        ++accepted;
    }
    const int error = errno;
    const int result = ::open(report.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    dprintf(result, "%lu %d", accepted, error);
    ::close(result);
}

TEST_F(MountEndingTest, ExportsAllAcceptedWritesAfterASignal) {
    constexpr int writers = 3;
    constexpr off_t enough = 100'000; // bytes; the kernel has not written most of them back
    for (int round = 0; round < 3; ++round) {
        const std::string out = out_ + std::to_string(round);
        const auto report = [&](int writer) { return out + "-report" + std::to_string(writer); };
        std::vector<std::unique_ptr<ChildProcess>> programs;
        expectSuccess(runMounted({"--export-on-exit", out}, [&](pid_t process) {
            for (int i = 0; i < writers; ++i) {
                const std::string path = inside(std::to_string(i));
                programs.push_back(std::make_unique<ChildProcess>([=] { appendLines(path, report(i)); }));
                EXPECT_TRUE(comesTrue([&] {
                    struct stat status {};
                    return ::stat(path.c_str(), &status) == 0 && status.st_size > enough;
                }));
            }
            ::kill(process, SIGTERM);
        }));
        for (int i = 0; i < writers; ++i) {
            waitForEnd(*programs[static_cast<std::size_t>(i)]);
            unsigned long accepted = 0;
            int error = 0;
            ASSERT_EQ(std::sscanf(readFile(report(i)).c_str(), "%lu %d", &accepted, &error), 2);
            EXPECT_EQ(fs::file_size(out + '/' + std::to_string(i)), 5 * accepted) << "writer " << i;
            EXPECT_THAT(error, testing::AnyOf(EROFS, ENOTCONN, ECONNABORTED)) << "writer " << i;
        }
    }
}

/// A stopped target delays the export. The kernel looks up one file only after the changes are refused.
TEST_F(MountEndingTest, RefusesChangesDuringTheExport) {
    const std::string slow = disk_.makeFolder("slow");
    disk_.write("in/probe", "");
    disk_.write("in/seen", "seen");
    disk_.write("in/unseen", "unseen");
    expectSuccess(runMountedAt(slow, {}, [&](pid_t target) {
        fs::create_directory(slow + "/out");
        const Words options{"--import", disk_ / "in", "--export-on-exit", slow + "/out"};
        expectSuccess(runMounted(options, [&](pid_t process) {
            const int seen = ::open(inside("seen").c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
            stop(target);
            ::kill(process, SIGTERM);
            EXPECT_TRUE(comesTrue([&] { // a change that leaves no entry behind if it succeeds
                return ::chmod(inside("probe").c_str(), 0600) == -1 && errno == EROFS;
            }));
            const int other = ::open(inside("seen").c_str(), O_RDWR | O_CLOEXEC);
            EXPECT_TRUE(comesTrue([&] { // writes are refused a little later than other changes
                return ::pwrite(other, "seen", 4, 0) == -1 && errno == EROFS;
            }));
            ::close(other);
            for (int i = 0; i < 2; ++i) { // requests in between do not let the next write through
                EXPECT_EQ(::write(seen, "x", 1), -1);
                EXPECT_EQ(errno, EROFS);
                EXPECT_EQ(fs::file_size(inside("seen")), 4U);
                EXPECT_EQ(readFile(inside("seen")), "seen");
                EXPECT_EQ(namesIn(mountPoint_), "probe seen unseen");
            }
            EXPECT_EQ(readFile(inside("unseen")), "unseen");
            EXPECT_EQ(::open(inside("new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), -1);
            EXPECT_EQ(errno, EROFS);
            EXPECT_EQ(::truncate(inside("seen").c_str(), 0), -1);
            EXPECT_EQ(errno, EROFS);
            EXPECT_EQ(::rename(inside("seen").c_str(), inside("new").c_str()), -1);
            EXPECT_EQ(errno, EROFS);
            EXPECT_EQ(::unlink(inside("seen").c_str()), -1);
            EXPECT_EQ(errno, EROFS);
            EXPECT_EQ(::chmod(inside("seen").c_str(), 0600), -1);
            EXPECT_EQ(errno, EROFS);
            ::close(seen);
            ::kill(target, SIGCONT);
        }));
        EXPECT_EQ(readFile(slow + "/out/seen"), "seen");
        EXPECT_EQ(namesIn(slow + "/out"), "probe seen unseen");
        ::kill(target, SIGTERM);
    }));
}

TEST_F(MountEndingTest, StaysMountedAfterAFailedExportUntilASecondSignal) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        write(inside("f"), "content");
        write(out_, "in the way");
        ::kill(process, SIGINT);
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("stays mounted") != std::string::npos; }));
        EXPECT_TRUE(isMounted());
        EXPECT_EQ(readFile(inside("f")), "content");
        write(inside("f"), "more content");
        EXPECT_EQ(readFile(inside("f")), "more content");
        const std::string note = readFile(rescued() + "/note.txt");
        EXPECT_THAT(note,
                    HasSubstr("'" + mountPoint_ + "' could not be exported completely to '" + out_ + "'"));
        EXPECT_THAT(note, HasSubstr("It is still mounted"));
        EXPECT_THAT(note, HasSubstr(out_ + ": a file is in the way"));
        ::kill(process, SIGTERM);
    });
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.errors(), HasSubstr("qzstorage: mount: " + out_ + ": a file is in the way\n"));
    EXPECT_THAT(run.errors(), HasSubstr("export aborted"));
    const std::string note = readFile(rescued() + "/note.txt");
    EXPECT_THAT(note, HasSubstr("is lost"));
    EXPECT_THAT(note, HasSubstr(out_ + ": a file is in the way"));
    EXPECT_EQ(readFile(out_), "in the way");
    EXPECT_FALSE(isMounted());
}

TEST_F(MountEndingTest, RepeatsAFailedExport) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        write(inside("f"), "content");
        write(out_, "in the way");
        ::kill(process, SIGTERM);
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("stays mounted") != std::string::npos; }));
        fs::remove(out_);
        EXPECT_TRUE(unmount());
    });
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(readFile(out_ + "/f"), "content");
    EXPECT_EQ(namesIn(rescue_), "") << "the note must be removed";
}

TEST_F(MountEndingTest, RescuesTheContentOfAnUnmountedStorage) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        write(inside("f"), "content");
        fs::create_directory(inside("d"));
        write(inside("d/g"), "below");
        write(out_, "in the way");
        EXPECT_TRUE(unmount());
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("in the way") != std::string::npos; }));
        ::kill(process, SIGTERM); // stops waiting for the target
    });
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(readFile(rescued() + "/content/f"), "content");
    EXPECT_EQ(readFile(rescued() + "/content/d/g"), "below");
    EXPECT_EQ(fs::status(rescued()).permissions(), fs::perms::owner_all);
    const std::string note = readFile(rescued() + "/note.txt");
    EXPECT_THAT(note, HasSubstr(mountPoint_));
    EXPECT_THAT(note, HasSubstr("has been copied to '" + rescued() + "/content'"));
    EXPECT_THAT(note, HasSubstr(out_ + ": a file is in the way"));
    EXPECT_THAT(run.errors(), HasSubstr("everything is in " + rescued() + "/content"));
    EXPECT_EQ(readFile(out_), "in the way");

    const ProgramRun next = runMounted({"--rescue", rescue_}, [&](pid_t) { EXPECT_TRUE(unmount()); });
    EXPECT_THAT(next.errors(), HasSubstr(rescue_ + ": contains what earlier mounts could not export"));
}

/// The rescue folder is blocked: on a slow machine the program would use it before the target is free.
TEST_F(MountEndingTest, WaitsForTheTargetWhenUnmounted) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        disk_.write("state/rescue", "");
        write(inside("f"), "content");
        write(out_, "in the way");
        EXPECT_TRUE(unmount());
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("in the way") != std::string::npos; }));
        fs::remove(out_);
    });
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(readFile(out_ + "/f"), "content");
}

/// A mount that can be saved neither to its target nor to the rescue folder, after its unmount.
class UnsavedMountTest : public MountEndingTest {
protected:
    /// Unmounts. After the export has failed, sends a signal so that the mount gives up the target, and waits
    /// until the rescue has failed.
    void giveUpTarget(pid_t process) {
        disk_.write("state/rescue", "");
        write(inside("f"), "content");
        write(out_, "in the way");
        EXPECT_TRUE(unmount());
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("in the way") != std::string::npos; }));
        ::kill(process, SIGTERM);
        EXPECT_TRUE(comesTrue([&] { return errorsOf(process).find("/content: ") != std::string::npos; }));
    }
};

TEST_F(UnsavedMountTest, RepeatsTheRescueAfterASignal) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        giveUpTarget(process);
        fs::remove(rescue_);
    });
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(readFile(rescued() + "/content/f"), "content");
    EXPECT_EQ(readFile(out_), "in the way");
}

TEST_F(UnsavedMountTest, IsDiscardedAfterASecondSignal) {
    const ProgramRun run = runMounted(exporting_, [&](pid_t process) {
        giveUpTarget(process);
        EXPECT_FALSE(hasEnded(process));
        ::kill(process, SIGTERM);
    });
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.errors(), HasSubstr("export aborted"));
}

} // namespace

} // namespace storage::tests
