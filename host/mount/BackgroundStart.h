#pragma once

#include "host/mount/SystemLog.h"
#include "host/support/ExitStatus.h"
#include "host/support/Interruption.h"

#include <array>
#include <optional>

namespace storage::host {

/// Lets a program go on in the background while the command that started it returns only when the program is ready.
///
/// Owns one end of the pipe between the two processes, and the way to the system's log. Make it before any thread is started.
/// Thread safety: one object is for one thread.
class BackgroundStart {
public:
    /// Splits the process in two.
    /// @throws std::system_error
    BackgroundStart();
    ~BackgroundStart();
    BackgroundStart(const BackgroundStart&) = delete;
    BackgroundStart& operator=(const BackgroundStart&) = delete;

    /// In the process that was started: nothing. In the one that the caller waits for: what it is to end with, once
    /// the other is ready or has ended. Signals that stop it stop the other.
    std::optional<ExitStatus> waitAsStarter() const;

    /// Leaves terminal, session and current folder of the caller, and lets the caller go on. As long as this object
    /// lives, the standard error stream of C++ leads to the system's log then.
    /// @throws std::system_error when nobody waits any more
    void ready();

private:
    explicit BackgroundStart(const std::array<int, 2>& ends);

    int child_; ///< the process started, 0 in that process itself
    int pipe_ = -1;
    SystemLog log_;
    std::streambuf* errors_ = nullptr; ///< where the stream led before
};

} // namespace storage::host
