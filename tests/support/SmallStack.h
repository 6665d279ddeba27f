#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace storage::tests {

inline constexpr std::size_t smallStackSize = std::size_t{128} * 1024;

/// Depth of deep trees. Sanitizers take minutes for the long paths of the full depth.
#ifdef QZSTORAGE_SANITIZED
inline constexpr int greatDepth = 1000;
#else
inline constexpr int greatDepth = 4000;
#endif

/// Runs `task` on a thread with a small stack and joins it. `task` must not throw.
inline void runOnSmallStack(std::function<void()> task) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, smallStackSize);
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, run, &task);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("cannot start a thread with a small stack");
    }
    pthread_join(thread, nullptr);
}

} // namespace storage::tests
