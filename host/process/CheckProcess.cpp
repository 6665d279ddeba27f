#include "host/process/CheckProcess.h"

#include "host/support/Interruption.h"
#include "host/support/SystemCall.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <random>
#include <string_view>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace storage::host {

namespace {

using std::chrono::milliseconds;
using Result = CheckOutcome::Result;

/// Longest delay until a signal that arrives between two waits is noticed.
constexpr milliseconds longestWait(100);

/// Above the capacity of a pipe. Bounds the output that is read from a runaway process.
constexpr std::size_t mostLeftInPipe = 1U << 20U;

/// Returns a descriptor that becomes readable when the process ends. Calls the system call directly, because
/// glibc 2.36 declares pidfd_open() without C linkage for C++.
FileDescriptor openProcess(pid_t id) {
    return FileDescriptor::adopt(checked(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)), "pidfd_open"),
                                 "process");
}

constexpr std::array announcedResults{Result::Pass, Result::Fail, Result::Skip};

std::string randomMark() {
    std::random_device random;
    return fmt::format("{:08x}{:08x}", random(), random());
}

/// One write, so that the message is not interleaved with other output.
void announceTo(const FileDescriptor& pipe, const std::string& mark, const CheckOutcome& verdict) {
    pipe.write(mark + static_cast<char>(verdict.result) + verdict.reason + mark);
}

/// Runs in the child process.
void runTask(const CheckProcess::Task& task, const std::string& mark, const Pipe& verdict,
             const Pipe& output) {
    checked(::dup2(output.writeEnd.number(), STDOUT_FILENO), "dup2");
    checked(::dup2(output.writeEnd.number(), STDERR_FILENO), "dup2");
    std::setvbuf(stdout, nullptr, _IONBF, 0); // unbuffered, so that a crash loses no output
    task([&](const CheckOutcome& announced) { announceTo(verdict.writeEnd, mark, announced); });
}

/// Passes available data to `taker`.
/// @return whether more data may follow
template <class Taker>
bool take(const FileDescriptor& pipe, Taker&& taker) {
    std::array<char, 65536> buffer{};
    for (std::size_t total = 0; total < mostLeftInPipe;) {
        const ssize_t count = ::read(pipe.number(), buffer.data(), buffer.size());
        if (count <= 0) {
            return count < 0;
        }
        taker(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
        total += static_cast<std::size_t>(count);
    }
    return true;
}

/// For example "SIGSEGV".
std::string signalName(int signal) {
    const char* const name = ::sigabbrev_np(signal);
    return name == nullptr ? fmt::format("signal {}", signal) : fmt::format("SIG{}", name);
}

std::string howItEnded(int status) {
    return WIFSIGNALED(status) ? "was terminated by " + signalName(WTERMSIG(status))
                               : fmt::format("ended with exit status {}", WEXITSTATUS(status));
}

double inSeconds(milliseconds time) {
    return std::chrono::duration<double>(time).count();
}

bool endedWell(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

CheckProcess::CheckProcess(const Task& task, milliseconds limit, Where where)
    : CheckProcess(task, limit, std::move(where), randomMark(), Pipe::make("verdict"), Pipe::make("output")) {
}

CheckProcess::CheckProcess(const Task& task, milliseconds limit, Where where, std::string mark, Pipe verdict,
                           Pipe output)
    : limit_(limit),
      where_(std::move(where)),
      mark_(std::move(mark)),
      process_([&] { runTask(task, mark_, verdict, output); }),
      ended_(openProcess(process_.id())),
      verdictEnd_(std::move(verdict.readEnd)),
      outputEnd_(std::move(output.readEnd)),
      sources_{{{ended_.number(), POLLIN, 0},
                {verdictEnd_.number(), POLLIN, 0},
                {outputEnd_.number(), POLLIN, 0}}} {}

CheckOutcome CheckProcess::wait() {
    CheckProcess* const self = this;
    waitForAny({&self, 1});
    return outcome();
}

std::size_t CheckProcess::waitForAny(std::span<CheckProcess* const> processes) {
    for (;;) {
        for (std::size_t i = 0; i < processes.size(); ++i) {
            if (processes[i]->isOver()) {
                return i;
            }
        }
        Interruption::check();
        std::vector<pollfd> sources;
        for (const CheckProcess* const each : processes) {
            sources.insert(sources.end(), each->sources_.begin(), each->sources_.end());
        }
        ::poll(sources.data(), sources.size(), static_cast<int>(longestWait.count()));
    }
}

/// Reads what the process has sent.
/// @return whether it has ended, or has reached the time limit
bool CheckProcess::isOver() {
    ::poll(sources_.data(), sources_.size(), 0);
    if (sources_[1].revents != 0 && !takeVerdict()) {
        sources_[1].fd = -1; // end of file: stop polling
    }
    if (sources_[2].revents != 0 && !takeOutput()) {
        sources_[2].fd = -1;
    }
    end_ = sources_[0].revents != 0 ? End::ByItself : End::TimeOver;
    return end_ == End::ByItself || Clock::now() >= start_ + limit_;
}

CheckOutcome CheckProcess::outcome() {
    const int status = process_.end();
    takeVerdict();
    takeOutput();
    CheckOutcome outcome = verdict(status);
    if (outcome.result == Result::Crash || outcome.result == Result::Hang) {
        outcome.reason += where_();
    }
    outcome.output = output_.text();
    outcome.duration = std::chrono::duration_cast<milliseconds>(Clock::now() - start_);
    return outcome;
}

bool CheckProcess::takeVerdict() {
    return take(verdictEnd_, [this](std::string_view bytes) { announced_ += bytes; });
}

bool CheckProcess::takeOutput() {
    return take(outputEnd_, [this](std::string_view bytes) { output_.append(bytes); });
}

std::optional<CheckOutcome> CheckProcess::announcedVerdict() const {
    const std::size_t around = 2 * mark_.size();
    if (announced_.size() <= around || !announced_.starts_with(mark_) || !announced_.ends_with(mark_)) {
        return std::nullopt;
    }
    const std::string_view message =
        std::string_view(announced_).substr(mark_.size(), announced_.size() - around);
    const auto result = static_cast<Result>(message.front());
    if (std::find(announcedResults.begin(), announcedResults.end(), result) == announcedResults.end()) {
        return std::nullopt;
    }
    OutputExcerpt reason;
    reason.append(message.substr(1));
    return CheckOutcome{result, reason.text()};
}

CheckOutcome CheckProcess::verdict(int status) const {
    const Result early = end_ == End::TimeOver ? Result::Hang : Result::Crash;
    const std::string ending = end_ == End::TimeOver
                                   ? fmt::format("did not end within {:g} s", inSeconds(limit_))
                                   : howItEnded(status);
    if (announced_.empty()) {
        return {early, ending};
    }
    const std::optional<CheckOutcome> announced = announcedVerdict();
    if (!announced) {
        return {early, ending + " after writing to a descriptor that is not its own"};
    }
    if (end_ == End::ByItself && endedWell(status)) {
        return *announced;
    }
    return announced->result == Result::Fail
               ? CheckOutcome{Result::Fail, announced->reason + "; then the check " + ending}
               : CheckOutcome{early, ending + " after the check had returned"};
}

} // namespace storage::host
