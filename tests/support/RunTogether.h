#pragma once

#include "tests/support/ThreadShaker.h"

#include <barrier>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace storage::tests {

/// Runs every task on its own thread. A barrier starts them at the same time, and a ThreadShaker makes them
/// yield. Returns when all have ended. The tasks must not throw.
inline void runTogether(const std::vector<std::function<void()>>& tasks) {
    std::barrier start(static_cast<std::ptrdiff_t>(tasks.size()));
    std::vector<std::thread> threads;
    threads.reserve(tasks.size());
    for (const auto& task : tasks) {
        threads.emplace_back([&start, &task] {
            start.arrive_and_wait();
            const ThreadShaker shaker;
            task();
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

} // namespace storage::tests
