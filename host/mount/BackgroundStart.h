#pragma once

#include "host/mount/SystemLog.h"
#include "host/support/ExitStatus.h"
#include "host/support/Interruption.h"

#include <array>
#include <optional>

namespace storage::host {

/// Moves the program to the background. The command that started it returns when the program is ready.
///
/// Owns one end of the pipe between the two processes, and the connection to the system log. Precondition of
/// the constructor: no other thread has been started. Not thread-safe.
class BackgroundStart {
public:
    /// Forks the process.
    BackgroundStart();
    ~BackgroundStart();
    BackgroundStart(const BackgroundStart&) = delete;
    BackgroundStart& operator=(const BackgroundStart&) = delete;

    /// In the child process, returns nothing. In the parent process, waits until the child is ready or has
    /// exited, and returns the exit status for the parent. Signals that end the parent are forwarded to the
    /// child.
    std::optional<ExitStatus> waitAsStarter() const;

    /// Detaches from terminal, session and working directory of the caller, and lets the parent exit. From
    /// then on, `std::cerr` writes to the system log until this object is destroyed.
    /// @throws std::system_error when the parent has exited
    void ready();

private:
    explicit BackgroundStart(const std::array<int, 2>& ends);

    int child_; ///< 0 in the child process
    int pipe_ = -1;
    SystemLog log_;
    std::streambuf* errors_ = nullptr; ///< the buffer of `std::cerr` before `ready`
};

} // namespace storage::host
