#include "host/mount/BackgroundStart.h"

#include "host/support/Interruption.h"
#include "host/support/SystemCall.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Waits for the child process and converts its status to an exit status.
ExitStatus statusOf(int child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        throw std::runtime_error(std::string("the background process was terminated by a signal: ") +
                                 ::strsignal(WTERMSIG(status)));
    }
    return static_cast<ExitStatus>(WEXITSTATUS(status));
}

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    return ends;
}

} // namespace

BackgroundStart::BackgroundStart() : BackgroundStart(makePipe()) {}

BackgroundStart::BackgroundStart(const std::array<int, 2>& ends) : child_(checked(::fork(), "fork")) {
    const bool isStarter = child_ != 0;
    pipe_ = ends[isStarter ? 0 : 1];
    ::close(ends[isStarter ? 1 : 0]);
}

BackgroundStart::~BackgroundStart() {
    if (errors_ != nullptr) {
        std::cerr.rdbuf(errors_);
    }
    ::close(pipe_);
}

std::optional<ExitStatus> BackgroundStart::waitAsStarter() const {
    if (child_ == 0) {
        return std::nullopt;
    }
    char sign = 0;
    ssize_t count = -1;
    while ((count = ::read(pipe_, &sign, 1)) < 0 && errno == EINTR) {
        ::kill(child_, Interruption::pending());
    }
    return count == 1 ? ExitStatus::Success : statusOf(child_);
}

void BackgroundStart::ready() {
    ::setsid();
    checked(::chdir("/"), "chdir");
    const int nowhere = checked(::open("/dev/null", O_RDWR | O_CLOEXEC), "open");
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        checked(::dup2(nowhere, descriptor), "dup2");
    }
    ::close(nowhere);
    errors_ = std::cerr.rdbuf(&log_);
    checked(static_cast<int>(::write(pipe_, "", 1)), "write");
}

} // namespace storage::host
