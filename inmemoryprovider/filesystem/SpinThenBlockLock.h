#pragma once

#include "hostapi/ThreadSafetyAnnotations.h"

#include <mutex>

namespace storage::inmemoryprovider {

/// A scoped lock, like std::lock_guard, that spins for a short time before it blocks.
///
/// The file system's mutex is mostly held for less time than a thread takes to block and wake up. Two threads
/// that block on each contention have less throughput than one thread alone.
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
