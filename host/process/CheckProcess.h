#pragma once

#include "host/process/CheckOutcome.h"
#include "host/process/ChildProcess.h"
#include "host/process/OutputExcerpt.h"
#include "host/process/Pipe.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace storage::host {

/// Isolates a check in a process: there is an outcome whatever the check does to the process. Of what comes out of the pipe
/// for the verdict, only a message between two copies of a random text counts: a check that writes to descriptors which are
/// not its own, or closes them, cannot bring about a verdict.
///
/// Owns the process, and the read ends of the pipes for its verdict and its output. Thread safety: as `ChildProcess`; one
/// object is for one thread.
class CheckProcess {
public:
    /// Sends result and reason to this program.
    using Announce = std::function<void(const CheckOutcome& verdict)>;
    /// Runs in the process and announces one verdict. A pass counts only if the process then exits by itself with status 0.
    using Task = std::function<void(const Announce& announce)>;

    /// @throws std::system_error
    explicit CheckProcess(const Task& task);

    /// Waits for the process to end, and kills it at the time limit. To be called once.
    /// @throws Interrupted
    CheckOutcome wait(std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    enum class End { ByItself, TimeOver };

    CheckProcess(const Task& task, std::string mark, Pipe verdict, Pipe output);

    End watch(Clock::time_point deadline);
    bool takeVerdict();
    bool takeOutput();
    std::optional<CheckOutcome> announcedVerdict() const;
    CheckOutcome verdict(End end, int status, std::chrono::milliseconds limit) const;

    Clock::time_point start_ = Clock::now();
    std::string mark_; ///< before and after the verdict
    ChildProcess process_;
    FileDescriptor ended_; ///< readable once the process has ended
    FileDescriptor verdictEnd_;
    FileDescriptor outputEnd_;
    std::string announced_;
    OutputExcerpt output_;
};

} // namespace storage::host
