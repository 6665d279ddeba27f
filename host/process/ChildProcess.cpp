#include "host/process/ChildProcess.h"

#include "host/disk/FileDescriptor.h"
#include "host/support/SystemCall.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

/// Makes the kernel kill this process when its parent ends. The parent may have ended before prctl(2), so
/// that is checked.
void endWith(pid_t starter) {
    checked(::prctl(PR_SET_PDEATHSIG, SIGKILL), "prctl");
    if (::getppid() != starter) {
        ::_exit(1);
    }
}

/// A limit of one byte is too small for a core file. Unlike 0, it also keeps the kernel from piping a core to
/// a core-dump handler.
void writeNoCore() {
    rlimit limit{};
    checked(::getrlimit(RLIMIT_CORE, &limit), "getrlimit");
    limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
    checked(::setrlimit(RLIMIT_CORE, &limit), "setrlimit");
}

void separate(pid_t starter) {
    endWith(starter);
    checked(::setpgid(0, 0), "setpgid");
    writeNoCore();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) { // the handlers belong to the parent
        std::signal(signal, SIG_DFL);
    }
    const FileDescriptor nothing("/dev/null", O_RDONLY);
    checked(::dup2(nothing.number(), STDIN_FILENO), "dup2");
}

/// Runs no destructors of the parent's objects. `noexcept`: an exception terminates the process.
[[noreturn]] void runAndEnd(const std::function<void()>& task, // NOLINT(bugprone-exception-escape)
                            pid_t starter) noexcept {
    separate(starter);
    task();
    std::cout.flush();
    std::fflush(nullptr);
    ::_exit(0);
}

pid_t start(const std::function<void()>& task) {
    std::cout.flush(); // or both processes would write the buffered output
    std::fflush(nullptr);
    const pid_t starter = ::getpid();
    const pid_t id = checked(::fork(), "fork");
    if (id == 0) {
        runAndEnd(task, starter);
    }
    ::setpgid(id, id); // in both processes, so that the group exists whichever runs first
    return id;
}

} // namespace

ChildProcess::ChildProcess(const std::function<void()>& task) : id_(start(task)) {}

ChildProcess::~ChildProcess() {
    end();
}

int ChildProcess::end() noexcept {
    const pid_t id = std::exchange(id_, 0);
    int status = SIGKILL; // if waitpid(2) fails
    if (id != 0) {
        ::kill(id, SIGKILL);  // in case it has left its group
        ::kill(-id, SIGKILL); // before waitpid(2), which frees the process id for reuse
        while (::waitpid(id, &status, 0) < 0 && errno == EINTR) {
        }
    }
    return status;
}

} // namespace storage::host
