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

/// Ends the process when the one that started it has ended, also if that was before the wish could be made.
void endWith(pid_t starter) {
    checked(::prctl(PR_SET_PDEATHSIG, SIGKILL), "prctl");
    if (::getppid() != starter) {
        ::_exit(1);
    }
}

/// One byte is too little for a core file, and tells the kernel not to hand a core to a program either, as none would.
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
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) { // no concern of the starter's handlers any more
        std::signal(signal, SIG_DFL);
    }
    const FileDescriptor nothing("/dev/null", O_RDONLY);
    checked(::dup2(nothing.number(), STDIN_FILENO), "dup2");
}

/// Without the destructors of what belongs to the starter. Whatever is thrown is to end the process.
[[noreturn]] void runAndEnd(const std::function<void()>& task, // NOLINT(bugprone-exception-escape)
                            pid_t starter) noexcept {
    separate(starter);
    task();
    std::cout.flush();
    std::fflush(nullptr);
    ::_exit(0);
}

pid_t start(const std::function<void()>& task) {
    std::cout.flush(); // what is held back would be written twice
    std::fflush(nullptr);
    const pid_t starter = ::getpid();
    const pid_t id = checked(::fork(), "fork");
    if (id == 0) {
        runAndEnd(task, starter);
    }
    ::setpgid(id, id); // here too: whoever is first, the group is there when it is to be killed
    return id;
}

} // namespace

ChildProcess::ChildProcess(const std::function<void()>& task) : id_(start(task)) {}

ChildProcess::~ChildProcess() {
    end();
}

int ChildProcess::end() noexcept {
    const pid_t id = std::exchange(id_, 0);
    int status = SIGKILL; // unless the kernel tells otherwise
    if (id != 0) {
        ::kill(id, SIGKILL);  // also when it has left its group
        ::kill(-id, SIGKILL); // before the process is waited for, as its number is its own until then
        while (::waitpid(id, &status, 0) < 0 && errno == EINTR) {
        }
    }
    return status;
}

} // namespace storage::host
