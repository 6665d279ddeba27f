#include "tests/support/UnlockHook.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cstring>
#include <utility>

namespace {

thread_local const std::function<void()>* activeHook = nullptr;

/// The standard library's checked iterators lock internal mutexes, also while the code under test holds its
/// own. A hook that waits there would cause a deadlock.
bool belongsToStandardLibrary(const pthread_mutex_t* mutex) {
    Dl_info info{};
    return dladdr(mutex, &info) != 0 && std::strstr(info.dli_fname, "libstdc++") != nullptr;
}

} // namespace

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QZSTORAGE_THREAD_SANITIZER
#endif
#endif

#ifdef QZSTORAGE_THREAD_SANITIZER
// ThreadSanitizer intercepts this function too and must see every call.
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
    if (activeHook != nullptr && !belongsToStandardLibrary(mutex)) {
        const auto* hook = std::exchange(activeHook, nullptr);
        (*hook)();
        activeHook = hook;
    }
    return result;
}

namespace storage::tests {

UnlockHook::UnlockHook(std::function<void()> hook) : hook_(std::move(hook)) {
    activeHook = &hook_;
}

UnlockHook::~UnlockHook() {
    activeHook = nullptr;
}

} // namespace storage::tests
