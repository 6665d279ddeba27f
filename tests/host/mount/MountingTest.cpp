#include "tests/host/mount/MountingTest.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

/// Returns whether the kernel permits root to mount a FUSE file system; in containers it often does not.
bool mayMount(int device) {
    const TemporaryFolder folder;
    const std::string options = "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0";
    const bool isMounted =
        ::mount("test", folder.path().c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    if (isMounted) {
        ::umount2(folder.path().c_str(), MNT_DETACH);
    }
    return isMounted;
}

/// Returns why this machine cannot mount anything; nothing if it can.
std::optional<std::string> obstacle() {
    const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (device < 0) {
        return "/dev/fuse is missing or cannot be opened";
    }
    const bool isPermitted = ::geteuid() != 0 || mayMount(device);
    ::close(device);
    if (!isPermitted) {
        return "mounting is not permitted here";
    }
    return runs("command -v fusermount3") ? std::nullopt : std::optional("fusermount3 is missing");
}

} // namespace

bool runs(const std::string& line) {
    return std::system((line + " >/dev/null 2>&1").c_str()) == 0; // NOLINT(cert-env33-c)
}

bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return condition();
}

void stop(pid_t child) {
    ::kill(child, SIGSTOP);
    int status = 0;
    ::waitpid(child, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status));
}

void limitTime() {
    constexpr unsigned seconds = 120; // many times the duration of any test here
    ::alarm(seconds);
}

void MountProgramTest::TearDown() {
    if (isMounted()) {
        ADD_FAILURE() << "the mount is still there";
        runs("fusermount3 -u -z " + mountPoint_);
    }
}

bool MountProgramTest::isMountedAt(const std::string& folder) const {
    struct stat inside {};
    struct stat outside {};
    return ::stat(folder.c_str(), &inside) != 0 || ::stat(disk_.path().c_str(), &outside) != 0 ||
           inside.st_dev != outside.st_dev;
}

void MountProgramTest::write(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

void MountingTest::SetUp() {
    if (const auto reason = obstacle()) {
        GTEST_SKIP() << *reason;
    }
}

ProgramRun MountingTest::runMountedAt(const std::string& mountPoint, const Words& options,
                                      const ProgramRun::Companion& whenMounted) {
    Words words{"mount", mountPoint};
    words.insert(words.end(), options.begin(), options.end());
    std::array<int, 2> pipe{};
    EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const auto prepare = [&] {
        ::dup2(pipe[1], STDOUT_FILENO);
        limitTime();
    };
    const auto accompany = [&](pid_t process) {
        ::close(pipe[1]);
        readAnnouncement(pipe[0]);
        ::close(pipe[0]);
        if (announcement_.ends_with("ends it\n")) {
            EXPECT_TRUE(isMountedAt(mountPoint));
            whenMounted(process);
        }
    };
    return {words, "", prepare, accompany};
}

/// Reads until the program exits or has reported that it is mounted.
void MountingTest::readAnnouncement(int descriptor) {
    announcement_.clear();
    for (char byte = 0; !announcement_.ends_with("ends it\n") && ::read(descriptor, &byte, 1) == 1;) {
        announcement_ += byte;
    }
}

void MountingTest::expectSuccess(const ProgramRun& run) {
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.errors(), "");
}
