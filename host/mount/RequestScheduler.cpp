#include "host/mount/RequestScheduler.h"

namespace storage::host {

namespace {

using Clock = std::chrono::steady_clock;

/// Most programs send the next request as soon as they have the reply to the last one. A thread spins this
/// long for it, because waking a thread takes longer than most requests.
constexpr std::chrono::microseconds spinTime(20);

constexpr unsigned longBurst = 16; ///< received without a pause; more than one thread can process

} // namespace

RequestScheduler::RequestScheduler(RequestDevice& device, unsigned workers)
    : device_(device), workers_(workers), readers_(workers) {}

void RequestScheduler::serve(fuse_buf& request) {
    unsigned inARow = 0;
    while (nextRequest(request, inARow)) {
        process(request);
    }
    stop();
}

void RequestScheduler::stop() noexcept {
    {
        const ScopedLock lock(mutex_); // so that no thread misses the end between its check and its wait
        device_.end();
    }
    called_.notify_all();
    quiet_.notify_all();
}

RequestScheduler::Drained RequestScheduler::drain(std::chrono::milliseconds longest) {
    const Clock::time_point end = Clock::now() + longest;
    const ScopedLock lock(mutex_);
    while (!isQuiet() && !device_.hasEnded()) {
        if (quiet_.wait_until(mutex_, end) == std::cv_status::timeout) {
            return isQuiet() ? Drained::Yes : Drained::No;
        }
    }
    return Drained::Yes;
}

/// @param inARow  requests that this thread has received without a pause
/// @return false when the device has ended
bool RequestScheduler::nextRequest(fuse_buf& request, unsigned& inARow) {
    while (!device_.hasEnded()) {
        auto received = device_.receive(request);
        inARow = received == RequestDevice::Received::Request ? inARow + 1 : 0;
        if (inARow == longBurst) {
            inARow = 0;
            const ScopedLock lock(mutex_);
            callOne();
        }
        if (received == RequestDevice::Received::Nothing && !waitForCall()) {
            received = spinForRequest(request);
        }
        if (received == RequestDevice::Received::Request) {
            return true;
        }
    }
    return false;
}

RequestDevice::Received RequestScheduler::spinForRequest(fuse_buf& request) {
    const Clock::time_point end = Clock::now() + spinTime;
    while (Clock::now() < end && !device_.hasEnded()) {
        if (device_.receive(request) == RequestDevice::Received::Request) {
            return RequestDevice::Received::Request;
        }
    }
    if (!device_.hasEnded()) {
        blockUntilRequest();
    }
    return RequestDevice::Received::Nothing;
}

void RequestScheduler::blockUntilRequest() {
    {
        const ScopedLock lock(mutex_);
        blocked_ = true;
    }
    quiet_.notify_all();
    device_.waitForRequest();
    const ScopedLock lock(mutex_);
    blocked_ = false;
}

/// No thread can start meanwhile: the one that blocks acquires the mutex first.
bool RequestScheduler::isQuiet() const {
    return blocked_ && idle_ + 1 == workers_ && !device_.hasRequest();
}

/// If another thread is a reader, waits to be called.
/// @return whether it waited
bool RequestScheduler::waitForCall() {
    const ScopedLock lock(mutex_);
    if (readers_ == 1) {
        return false;
    }
    --readers_;
    ++idle_;
    quiet_.notify_all();
    while (calls_ == 0 && !device_.hasEnded()) {
        called_.wait(mutex_);
    }
    --idle_;
    calls_ -= calls_ > 0 ? 1 : 0;
    return true;
}

/// The called thread counts as a reader from now on.
void RequestScheduler::callOne() {
    if (idle_ > calls_) {
        ++calls_;
        ++readers_;
        called_.notify_one();
    }
}

void RequestScheduler::process(const fuse_buf& request) {
    if (!device_.isLong(request)) {
        device_.process(request);
        return;
    }
    {
        const ScopedLock lock(mutex_);
        if (--readers_ == 0) {
            callOne();
        }
    }
    device_.process(request);
    const ScopedLock lock(mutex_);
    ++readers_;
}

} // namespace storage::host
