#include "inmemoryprovider/filesystem/SpinningLock.h"

namespace storage::inmemoryprovider {

namespace {

/// Some microseconds in all: several operations long, and about as long as going to sleep takes.
constexpr int attempts = 100;

/// Tells a processor that can be told that this thread waits for another.
void relax() noexcept {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

} // namespace

SpinningLock::SpinningLock(std::mutex& mutex) : mutex_(mutex) {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (mutex_.try_lock()) {
            return;
        }
        relax();
    }
    mutex_.lock();
}

} // namespace storage::inmemoryprovider
