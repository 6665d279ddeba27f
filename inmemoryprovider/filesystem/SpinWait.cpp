#include "inmemoryprovider/filesystem/SpinWait.h"

namespace storage::inmemoryprovider {

void spinHint() noexcept {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("isb"); // `yield` does nothing on most of these processors
#endif
}

bool spinTryLock(std::mutex& mutex) noexcept {
    for (int spin = 0; spin < spinLimit; ++spin) {
        if (mutex.try_lock()) {
            return true;
        }
        spinHint();
    }
    return false;
}

void waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value) noexcept {
    for (int spin = 0; spin < spinLimit; ++spin) {
        if (word.load() != value) {
            return;
        }
        spinHint();
    }
    word.wait(value);
}

void wakeWaiters(std::atomic<std::uint32_t>& word) noexcept {
    word.notify_all();
}

} // namespace storage::inmemoryprovider
