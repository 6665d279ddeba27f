#pragma once

#include <functional>
#include <sys/types.h>

namespace storage::host {

/// A child process that runs a function of this program.
///
/// Owns the process and its process group. The group does not outlive the object. The process is also killed
/// when this program ends, however it ends. It writes no core file, its standard input is empty, and signals
/// from the terminal do not reach it. Precondition of the constructor: this program has no other thread.
class ChildProcess {
public:
    /// @param task  runs in the child process, which exits with status 0 when it returns and is ended by
    ///     SIGABRT when it throws
    /// @throws std::system_error
    explicit ChildProcess(const std::function<void()>& task);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const noexcept { return id_; }

    /// Kills what is still running in the group.
    /// @return how the process ended, as a status of waitpid(2)
    int end() noexcept;

private:
    pid_t id_;
};

} // namespace storage::host
