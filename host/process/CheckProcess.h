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

    /// @throws std::system_error
    explicit CheckProcess(const Task& task);

    /// Waits for the process to end, and kills it at the time limit. Call it once.
    /// @throws Interrupted
    CheckOutcome wait(std::chrono::milliseconds limit);

    /// Waits, for a short time at most, until one of the processes sends data or ends.
    /// @throws Interrupted
    static void waitForAny(std::span<CheckProcess* const> processes);

    /// Reads what the process has sent.
    /// @return whether it has ended, or has reached the time limit
    bool isOver(std::chrono::milliseconds limit);

    /// Kills the process if it is still running, and returns the outcome. Call it once, when isOver() is
    /// true.
    CheckOutcome outcome(std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    enum class End { ByItself, TimeOver };

    CheckProcess(const Task& task, std::string mark, Pipe verdict, Pipe output);

    bool takeVerdict();
    bool takeOutput();
    std::optional<CheckOutcome> announcedVerdict() const;
    CheckOutcome verdict(int status, std::chrono::milliseconds limit) const;

    Clock::time_point start_ = Clock::now();
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
