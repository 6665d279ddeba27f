#pragma once

#include "host/process/CheckOutcome.h"
#include "host/process/ChildProcess.h"
#include "host/process/OutputExcerpt.h"
#include "host/process/Pipe.h"

#include <chrono>
#include <functional>
#include <string>

namespace storage::host {

/// A process of its own for code that may do anything to it: whatever that is, there is an outcome.
///
/// Owns the process and one end of the pipes that its verdict and its output come through. Thread safety: as
/// `ChildProcess`; one object is for one thread.
class CheckProcess {
public:
    using Announce = std::function<void(const CheckVerdict&)>;
    /// Runs in the process and announces one verdict. Passing counts only if the process then ends by itself and well.
    using Task = std::function<void(const Announce& announce)>;

    /// @throws std::system_error
    explicit CheckProcess(const Task& task);

    /// Waits for the end, and makes an end when the time is over. To be called once.
    /// @throws Interrupted
    CheckOutcome wait(std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    enum class End { ByItself, TimeOver };

    CheckProcess(const Task& task, Pipe verdict, Pipe output);

    End watch(Clock::time_point deadline);
    bool takeVerdict();
    bool takeOutput();
    CheckVerdict verdict(End end, int status, std::chrono::milliseconds limit) const;

    Clock::time_point start_ = Clock::now();
    ChildProcess process_;
    FileDescriptor ended_; ///< readable once the process has ended
    FileDescriptor verdictEnd_;
    FileDescriptor outputEnd_;
    std::string announced_;
    OutputExcerpt output_;
};

} // namespace storage::host
