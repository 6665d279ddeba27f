#include "benchmarks/runner/ChildProcess.h"

#include "benchmarks/runner/Interrupted.h"
#include "benchmarks/runner/StopSignal.h"
#include "benchmarks/scenarios/Timing.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace storage::benchmark {

namespace {

constexpr const char* self = "/proc/self/exe";

[[noreturn]] void becomeChild(int output, const std::vector<std::string>& arguments) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(output, STDOUT_FILENO);
    std::vector<char*> pointers{const_cast<char*>(self)};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    ::execv(self, pointers.data());
    ::_exit(127);
}

/// Reads to the end. A signal to stop is passed on to the child, whose end is the end of its output.
std::string readAll(int descriptor, pid_t child) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EINTR) {
            ::kill(child, SIGKILL);
        } else {
            return text;
        }
    }
}

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

ChildProcess ChildProcess::run(const std::vector<std::string>& arguments) {
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeChild(pipe[1], arguments);
    }
    ::close(pipe[1]);
    ChildProcess result;
    result.output = child < 0 ? "" : readAll(pipe[0], child);
    ::close(pipe[0]);
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    result.seconds = secondsSince(start);
    result.processorSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
    result.succeeded = child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (StopSignal::arrived()) {
        throw Interrupted();
    }
    return result;
}

} // namespace storage::benchmark
