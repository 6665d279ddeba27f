#include "tests/support/ThreadShaker.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>

#include <random>

namespace {

thread_local bool isShaken = false;
thread_local std::minstd_rand choice;

constexpr unsigned unlockingsPerYield = 4;

} // namespace

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QZSTORAGE_THREAD_SANITIZER
#endif
#endif

#ifdef QZSTORAGE_THREAD_SANITIZER
// The sanitizer also replaces this function and must see every call.
extern "C" int __interceptor_pthread_mutex_unlock(pthread_mutex_t* mutex);

static int unlock(pthread_mutex_t* mutex) {
    return __interceptor_pthread_mutex_unlock(mutex);
}
#else
static int unlock(pthread_mutex_t* mutex) {
    using Unlock = int(pthread_mutex_t*);
    static auto* const real = reinterpret_cast<Unlock*>(dlsym(RTLD_NEXT, "pthread_mutex_unlock"));
    return real(mutex);
}
#endif

extern "C" __attribute__((visibility("default"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    const int result = unlock(mutex);
    if (isShaken && choice() % unlockingsPerYield == 0) {
        sched_yield();
    }
    return result;
}

namespace storage::tests {

ThreadShaker::ThreadShaker() {
    isShaken = true;
}

ThreadShaker::~ThreadShaker() {
    isShaken = false;
}

} // namespace storage::tests
