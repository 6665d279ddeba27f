#pragma once

#include "host/mount/Mutex.h"
#include "host/mount/RequestDevice.h"

#include <chrono>
#include <condition_variable>

namespace storage::host {

/// Decides which thread receives and processes the next request.
///
/// Most requests are short and arrive one after the other. It is best if the same thread receives the next
/// one, because waking another takes longer than most requests. So one thread receives requests as long as
/// that is enough. It calls another one before it processes a long request, and when requests queue up. A
/// thread that finds no request waits until it is called, unless no other thread is receiving.
///
/// Borrows the device. Owns no thread and performs no I/O. Thread-safe.
class RequestScheduler {
public:
    /// @param workers  number of threads that call `serve`
    RequestScheduler(RequestDevice& device, unsigned workers);

    /// Processes requests until the device has ended.
    void serve(fuse_buf& request);

    /// Ends the device and wakes all threads.
    void stop() noexcept;

    enum class Drained { Yes, No };

    /// Waits until no request is being processed and none is left, or until the device has ended.
    /// @param longest  time limit, for programs that never stop making requests
    Drained drain(std::chrono::milliseconds longest);

private:
    bool nextRequest(fuse_buf& request, unsigned& inARow);
    RequestDevice::Received spinForRequest(fuse_buf& request);
    void blockUntilRequest();
    bool isQuiet() const QZFL_REQUIRES(mutex_);
    bool waitForCall();
    void callOne() QZFL_REQUIRES(mutex_);
    void process(const fuse_buf& request);

    RequestDevice& device_;
    const unsigned workers_;
    Mutex mutex_;
    std::condition_variable_any called_;
    std::condition_variable_any quiet_;            ///< `isQuiet` may have become true
    bool blocked_ QZFL_GUARDED_BY(mutex_) = false; ///< the only reader blocks in the device
    unsigned readers_ QZFL_GUARDED_BY(mutex_);     ///< threads that receive requests or process a short one
    unsigned idle_ QZFL_GUARDED_BY(mutex_) = 0;    ///< threads that wait to be called
    unsigned calls_ QZFL_GUARDED_BY(mutex_) = 0;   ///< calls that no thread has accepted yet
};

} // namespace storage::host
