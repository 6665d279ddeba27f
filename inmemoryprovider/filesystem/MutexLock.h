#pragma once

#include "hostapi/ThreadSafetyAnnotations.h"

#include <mutex>

namespace storage::inmemoryprovider {

/// std::lock_guard with annotations for thread-safety analysis.
class QZFL_SCOPED_CAPABILITY [[nodiscard]] MutexLock {
public:
    explicit MutexLock(std::mutex& mutex) QZFL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() QZFL_RELEASE() { mutex_.unlock(); }

private:
    std::mutex& mutex_;
};

} // namespace storage::inmemoryprovider
