#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace storage::inmemoryprovider {

/// What depth must get along with. Sanitizers keep their own data on a thread's stack and make frames larger.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define QZSTORAGE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define QZSTORAGE_SANITIZED 1
#endif
#endif
#ifdef QZSTORAGE_SANITIZED
inline constexpr std::size_t smallStackSize = 512 * 1024;
#else
inline constexpr std::size_t smallStackSize = 128 * 1024;
#endif

/// Runs `task` to its end on a thread of its own with a small stack. `task` must not throw.
inline void runOnSmallStack(std::function<void()> task) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, smallStackSize);
    pthread_t thread{};
    const auto entry = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    const int error = pthread_create(&thread, &attributes, entry, &task);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("no thread with a small stack");
    }
    pthread_join(thread, nullptr);
}

} // namespace storage::inmemoryprovider
