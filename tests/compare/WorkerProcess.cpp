#include "tests/compare/WorkerProcess.h"

#include "tests/compare/CallKind.h"

#include <cerrno>
#include <csignal>
#include <fmt/format.h>
#include <poll.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace syscalls {

namespace {

constexpr std::size_t longestMessage = 1U << 20U;
constexpr char epochMessage = '@';
constexpr char endOfOutcome = '\x1D';

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void enter(const std::string& root) {
    require(::chroot(root.c_str()) == 0 && ::chdir("/") == 0, "chroot");
    ::umask(022);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): cannot fail
}

timespec timeIn(const std::string& message) {
    timespec time{};
    std::istringstream(message) >> time.tv_sec >> time.tv_nsec;
    return time;
}

/// Makes calls and returns their outcomes, one per line.
std::string makeAll(const std::string& lines, CallProcess& process) {
    std::istringstream in(lines);
    std::string reply;
    for (std::string line; std::getline(in, line);) {
        const Call call = fromLine(line);
        OutcomeBuilder outcome(process.exclusions());
        process.become(call.user);
        kindNamed(call.kind).execute(process, call, outcome);
        reply += toText(outcome.take()) + endOfOutcome;
    }
    return reply;
}

/// Serves messages until the socket is closed.
void serve(int socket, const Exclusions& exclusions) {
    CallProcess process(exclusions);
    std::string buffer(longestMessage, '\0');
    for (ssize_t count = 0; (count = ::recv(socket, buffer.data(), buffer.size(), 0)) > 0;) {
        const std::string message = buffer.substr(0, static_cast<std::size_t>(count));
        if (message.front() == epochMessage) {
            process.beginEpoch(timeIn(message.substr(1)));
            continue;
        }
        const std::string reply = makeAll(message, process);
        require(::send(socket, reply.data(), reply.size(), MSG_NOSIGNAL) >= 0, "send");
    }
}

} // namespace

WorkerProcess::WorkerProcess(const std::string& root, const Exclusions& exclusions) {
    int ends[2] = {};
    require(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0, "socketpair");
    constexpr int buffer = longestMessage;
    for (const int end : ends) {
        ::setsockopt(end, SOL_SOCKET, SO_SNDBUFFORCE, &buffer, sizeof(buffer));
    }
    process_ = ::fork();
    require(process_ >= 0, "fork");
    if (process_ == 0) {
        ::close(ends[0]);
        try {
            enter(root);
            serve(ends[1], exclusions);
        } catch (const std::exception& error) {
            fmt::print(stderr, "compare: a worker process failed: {}\n", error.what());
            ::_exit(1);
        }
        ::_exit(0);
    }
    ::close(ends[1]);
    socket_ = ends[0];
}

WorkerProcess::~WorkerProcess() {
    ::close(socket_);
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void WorkerProcess::send(const std::string& message) const {
    ::send(socket_, message.data(), message.size(), MSG_NOSIGNAL); // `outcomes` reports a failure
}

void WorkerProcess::beginEpoch(timespec begin) {
    send(fmt::format("{}{} {}", epochMessage, begin.tv_sec, begin.tv_nsec));
}

void WorkerProcess::start(const Calls& calls) {
    std::string lines;
    for (const Call& call : calls) {
        lines += toLine(call) + '\n';
    }
    send(lines);
}

std::vector<Outcome> WorkerProcess::outcomes() {
    constexpr int replyTimeout = 120'000; // milliseconds, many times the duration of any batch
    pollfd state{socket_, POLLIN, 0};
    if (::poll(&state, 1, replyTimeout) == 0) {
        throw Failure("a worker process does not answer");
    }
    std::string buffer(longestMessage, '\0');
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), MSG_TRUNC);
    if (count <= 0) {
        throw Failure("a worker process has exited");
    }
    if (static_cast<std::size_t>(count) > buffer.size()) {
        throw Failure("the reply of a worker process is too long");
    }
    std::istringstream in(buffer.substr(0, static_cast<std::size_t>(count)));
    std::vector<Outcome> outcomes;
    for (std::string text; std::getline(in, text, endOfOutcome);) {
        outcomes.push_back(outcomeOf(text));
    }
    return outcomes;
}

} // namespace syscalls
