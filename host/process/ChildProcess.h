#pragma once

#include <functional>
#include <sys/types.h>

namespace storage::host {

/// A process that runs a part of this program, with whatever it starts itself.
///
/// Owns the process and its process group: none of it outlives the object, nor this program, however that ends. The
/// process writes no core file, reads nothing, and is not reached by the keyboard. Thread safety: this program must have
/// no other thread when it is made.
class ChildProcess {
public:
    /// @param task  is run there; the process ends with status 0 when it returns, and by SIGABRT when it throws
    /// @throws std::system_error
    explicit ChildProcess(const std::function<void()>& task);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const noexcept { return id_; }

    /// Kills what still runs of it.
    /// @return how the process had ended, as waitpid(2) tells it
    int end() noexcept;

private:
    pid_t id_;
};

} // namespace storage::host
