#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <latch>
#include <vector>

namespace storage::benchmark {

/// The time and the result of one of several threads.
struct ThreadResult {
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point end;
    std::uint64_t value;
};

/// Calls body(thread) in new threads. They begin when all are ready.
inline std::vector<ThreadResult> runInThreads(unsigned threads,
                                              const std::function<std::uint64_t(unsigned)>& body) {
    std::latch ready(threads);
    std::vector<std::future<ThreadResult>> running;
    for (unsigned thread = 0; thread < threads; ++thread) {
        running.push_back(std::async(std::launch::async, [&body, &ready, thread] {
            ready.arrive_and_wait();
            const auto start = std::chrono::steady_clock::now();
            const std::uint64_t value = body(thread);
            return ThreadResult{start, std::chrono::steady_clock::now(), value};
        }));
    }
    std::vector<ThreadResult> results;
    results.reserve(threads);
    for (auto& each : running) {
        results.push_back(each.get());
    }
    return results;
}

} // namespace storage::benchmark
