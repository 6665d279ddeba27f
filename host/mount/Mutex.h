#pragma once

#include "hostapi/ThreadSafetyAnnotations.h"

#include <mutex>
#include <shared_mutex>

namespace storage::host {

// The locks of the standard library with the annotations for clang's thread-safety analysis, which libstdc++
// lacks.

class QZFL_CAPABILITY("mutex") Mutex {
public:
    void lock() QZFL_ACQUIRE() { mutex_.lock(); }
    void unlock() QZFL_RELEASE() { mutex_.unlock(); }

    /// For functions that are called only with the mutex held, where the analysis cannot see it.
    void assertHeld() const noexcept QZFL_ASSERT_CAPABILITY(this) {}

private:
    std::mutex mutex_;
};

class QZFL_CAPABILITY("mutex") SharedMutex {
public:
    void lock() QZFL_ACQUIRE() { mutex_.lock(); }
    void unlock() QZFL_RELEASE() { mutex_.unlock(); }
    void lockShared() QZFL_ACQUIRE_SHARED() { mutex_.lock_shared(); }
    void unlockShared() QZFL_RELEASE_SHARED() { mutex_.unlock_shared(); }

    /// As `Mutex::assertHeld`, for an exclusive lock.
    void assertHeld() const noexcept QZFL_ASSERT_CAPABILITY(this) {}

private:
    std::shared_mutex mutex_;
};

/// Holds a mutex, or a shared mutex exclusively, during its lifetime.
template <typename Lockable>
class QZFL_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Lockable& mutex) QZFL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~ScopedLock() QZFL_RELEASE() { mutex_.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Lockable& mutex_;
};

/// Holds a shared mutex, shared, during its lifetime.
class QZFL_SCOPED_CAPABILITY SharedScopedLock {
public:
    explicit SharedScopedLock(SharedMutex& mutex) QZFL_ACQUIRE_SHARED(mutex) : mutex_(mutex) {
        mutex_.lockShared();
    }
    ~SharedScopedLock() QZFL_RELEASE() { mutex_.unlockShared(); }
    SharedScopedLock(const SharedScopedLock&) = delete;
    SharedScopedLock& operator=(const SharedScopedLock&) = delete;

private:
    SharedMutex& mutex_;
};

} // namespace storage::host
