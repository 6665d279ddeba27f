#pragma once

#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace storage::tests {

/// Whether a thread of this process sleeps in the kernel.
inline bool isAsleep(pid_t thread) {
    std::string number;
    std::string name;
    char state = '-';
    std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat") >> number >> name >> state;
    return state == 'S';
}

/// Runs `call` in its own thread, and returns once that thread sleeps, as one does that waits for a lock. Also
/// returns if the call ends. Never returns if the call spins instead.
template <class Call>
std::future<std::invoke_result_t<Call>> startUntilAsleep(Call call) {
    std::promise<pid_t> started;
    auto thread = started.get_future();
    auto result =
        std::async(std::launch::async, [call = std::move(call), started = std::move(started)]() mutable {
            started.set_value(::gettid());
            return call();
        });
    const pid_t number = thread.get();
    while (!isAsleep(number) && result.wait_for(std::chrono::seconds(0)) == std::future_status::timeout) {
        std::this_thread::yield();
    }
    return result;
}

} // namespace storage::tests
