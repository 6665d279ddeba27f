#pragma once

#include "tests/compare/Call.h"
#include "tests/compare/Exclusions.h"
#include "tests/compare/Outcome.h"

#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

namespace syscalls {

/// A process that makes the calls of all users in one file system, its root folder.
///
/// Owns the process, which ends with it. Not thread-safe.
class WorkerProcess {
public:
    /// @throws std::system_error
    WorkerProcess(const std::string& root, const Exclusions& exclusions);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    void beginEpoch(timespec begin);

    /// Lets it make calls. outcomes() must follow.
    void start(const Calls& calls);

    /// What came of the calls. When the process does not answer, one field "result" that says so.
    std::vector<Outcome> outcomes();

private:
    void send(const std::string& message) const;

    int socket_ = -1;
    pid_t process_ = 0;
};

} // namespace syscalls
