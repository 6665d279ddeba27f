#include "benchmarks/system/ChildProcess.h"

#include "benchmarks/results/Timing.h"
#include "benchmarks/system/StopSignal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fmt/ranges.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

[[noreturn]] void becomeChild(int output, std::vector<std::string>& command) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(output, STDOUT_FILENO);
    std::vector<char*> pointers;
    for (std::string& word : command) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    ::execvp(pointers.front(), pointers.data());
    ::_exit(127);
}

/// Reads to the end of the output. Forwards a termination signal to the child, which ends its output.
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

ChildProcess ChildProcess::run(std::vector<std::string> command) {
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeChild(pipe[1], command);
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

ChildProcess ChildProcess::runSelf(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "/proc/self/exe");
    return run(std::move(arguments));
}

ChildProcess ChildProcess::runSuccessfully(const std::vector<std::string>& command) {
    ChildProcess child = run(command);
    if (!child.succeeded) {
        throw std::runtime_error(fmt::format("failed: {}", fmt::join(command, " ")));
    }
    return child;
}

} // namespace storage::benchmark
