#pragma once

#include "tests/support/TaskState.h"

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace storage::tests {

/// Runs `call` in its own thread, and returns once that thread sleeps, as one does that waits for a lock.
/// Also returns if the call ends. Never returns if the call spins instead.
template <class Call>
std::future<std::invoke_result_t<Call>> startUntilAsleep(Call call) {
    std::promise<pid_t> started;
    auto thread = started.get_future();
    auto result =
        std::async(std::launch::async, [call = std::move(call), started = std::move(started)]() mutable {
            started.set_value(::gettid());
            return call();
        });
    const std::string folder = "/proc/self/task/" + std::to_string(thread.get());
    while (taskState(folder) != 'S' &&
           result.wait_for(std::chrono::seconds(0)) == std::future_status::timeout) {
        std::this_thread::yield();
    }
    return result;
}

} // namespace storage::tests
