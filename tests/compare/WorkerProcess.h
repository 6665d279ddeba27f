#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/Exclusions.h"
#include "tests/compare/Outcome.h"

#include <ctime>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

namespace syscalls {

/// A process that makes the calls of all users in one file system, to which chroot(2) confines it.
///
/// Owns the process and ends it. Not thread-safe.
class WorkerProcess {
public:
    /// The process does not reply, has exited, or sent a reply that is too long.
    class Failure : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// @throws std::system_error
    WorkerProcess(const std::string& root, const Exclusions& exclusions);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    void beginEpoch(timespec begin);

    /// Starts making calls. `outcomes` must be called next.
    void start(const Calls& calls);

    /// Returns the outcomes of the calls, one for each.
    /// @throws Failure
    std::vector<Outcome> outcomes();

private:
    void send(const std::string& message) const;

    int socket_ = -1;
    pid_t process_ = 0;
};

} // namespace syscalls
