#pragma once

#include "host/process/ChildProcess.h"
#include "tests/support/TaskState.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <sys/wait.h>
#include <thread>

inline char stateOf(pid_t process) {
    return taskState("/proc/" + std::to_string(process));
}

inline bool hasEnded(pid_t process) {
    return stateOf(process) == '-' || stateOf(process) == 'Z';
}

/// Waits for the end of a process, for at most a minute.
inline bool endsSoon(pid_t process) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!hasEnded(process) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    return hasEnded(process);
}

/// Waits until a process ends by itself.
/// @return its status as of waitpid(2)
inline int waitForEnd(storage::host::ChildProcess& process) {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(process.id()), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    return process.end();
}
