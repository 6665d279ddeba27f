#pragma once

#include "hostapi/ThreadSafetyAnnotations.h"

#include <mutex>

namespace storage::inmemoryprovider {

/// A scoped lock, as std::lock_guard, that spins for a short time before it blocks.
///
/// The file system's mutex is mostly held for less than putting a thread to sleep and waking it takes. Two threads that
/// sleep whenever they contend do less together than one of them alone.
class QZFL_SCOPED_CAPABILITY [[nodiscard]] SpinThenBlockLock {
public:
    explicit SpinThenBlockLock(std::mutex& mutex) QZFL_ACQUIRE(mutex);
    SpinThenBlockLock(const SpinThenBlockLock&) = delete;
    SpinThenBlockLock& operator=(const SpinThenBlockLock&) = delete;
    ~SpinThenBlockLock() QZFL_RELEASE() { mutex_.unlock(); }

private:
    std::mutex& mutex_;
};

} // namespace storage::inmemoryprovider
