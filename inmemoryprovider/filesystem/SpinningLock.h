#pragma once

#include <mutex>

namespace storage::inmemoryprovider {

/// Holds a mutex as long as it lives, as std::lock_guard does, but asks for it some times before it goes to sleep.
///
/// What the file system's mutex is held for is mostly shorter than putting a thread to sleep and waking it. Two
/// threads that sleep at each meeting do less together than one of them alone.
class [[nodiscard]] SpinningLock {
public:
    explicit SpinningLock(std::mutex& mutex);
    SpinningLock(const SpinningLock&) = delete;
    SpinningLock& operator=(const SpinningLock&) = delete;
    ~SpinningLock() { mutex_.unlock(); }

private:
    std::mutex& mutex_;
};

} // namespace storage::inmemoryprovider
