#pragma once

#include "host/process/CheckOutcome.h"
#include "host/process/ChildProcess.h"
#include "host/process/OutputExcerpt.h"
#include "host/process/Pipe.h"

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <poll.h>
#include <span>
#include <string>

namespace storage::host {

/// Runs a check in a child process, so that every check has an outcome, also one that crashes or hangs. A
/// message in the verdict pipe counts only between two copies of a random mark. So a check that writes to or
/// closes descriptors that it does not own cannot forge a verdict.
///
/// Owns the process and the read ends of the pipes for its verdict and its output. Not thread-safe; see also
/// `ChildProcess`.
class CheckProcess {
public:
    /// Sends result and reason to the parent process.
    using Announce = std::function<void(const CheckOutcome& verdict)>;
    /// Runs in the child process and announces one verdict. A pass counts only if the process then exits with
    /// status 0.
    using Task = std::function<void(const Announce& announce)>;
    /// Returns what the process was doing, for the end of the reason of a crash or hang.
    using Where = std::function<std::string()>;

    /// @param limit  time limit, after which the process is killed
    /// @throws std::system_error
    CheckProcess(
        const Task& task, std::chrono::milliseconds limit, Where where = [] { return std::string(); });

    /// Waits for the process to end or to reach its time limit. Call it once.
    /// @throws Interrupted
    CheckOutcome wait();

    /// Waits until one of the processes has ended or has reached its time limit.
    /// @param processes  at least one
    /// @return the index of that process
    /// @throws Interrupted
    static std::size_t waitForAny(std::span<CheckProcess* const> processes);

    /// Kills the process if it is still running, and returns the outcome. Call it once, when waitForAny() has
    /// returned this process.
    CheckOutcome outcome();

private:
    using Clock = std::chrono::steady_clock;
    enum class End { ByItself, TimeOver };

    CheckProcess(const Task& task, std::chrono::milliseconds limit, Where where, std::string mark,
                 Pipe verdict, Pipe output);

    bool isOver();
    bool takeVerdict();
    bool takeOutput();
    std::optional<CheckOutcome> announcedVerdict() const;
    CheckOutcome verdict(int status) const;

    Clock::time_point start_ = Clock::now();
    std::chrono::milliseconds limit_;
    Where where_;
    End end_ = End::TimeOver;
    std::string mark_; ///< delimits the verdict on both sides
    ChildProcess process_;
    FileDescriptor ended_; ///< readable when the process has ended
    FileDescriptor verdictEnd_;
    FileDescriptor outputEnd_;
    std::array<pollfd, 3> sources_; ///< for the three descriptors above; number -1 after end of file
    std::string announced_;
    OutputExcerpt output_;
};

} // namespace storage::host
