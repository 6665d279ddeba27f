#include "host/mount/FuseWorkers.h"

#include "host/support/Interruption.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <pthread.h>

namespace storage::host {

namespace {

/// Blocks all signals in the calling thread, and in threads that it starts, during its lifetime.
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

    const sigset_t& before() const noexcept { return before_; }

private:
    sigset_t before_{};
};

void serve(RequestScheduler& scheduler) {
    fuse_buf request{};
    scheduler.serve(request);
    std::free(request.mem); // NOLINT(cppcoreguidelines-no-malloc): libfuse allocates it with malloc
}

} // namespace

FuseWorkers::FuseWorkers(const FuseSession& session, StorageSpace& space, unsigned count)
    : seeker_(session.seeker()), device_(session, space), scheduler_(device_, count) {
    const BlockedSignals blocked;
    threads_.reserve(count);
    try {
        for (unsigned i = 0; i < count; ++i) {
            threads_.emplace_back([this] { serve(scheduler_); });
        }
    } catch (...) {
        stop();
        throw;
    }
}

FuseWorkers::~FuseWorkers() {
    stop();
}

FuseWorkers::End FuseWorkers::waitForEnd(int requested) const {
    const BlockedSignals blocked; // ppoll() unblocks them, so that a signal just before it is not lost
    std::array<pollfd, 2> waiting{{{device_.endDescriptor(), POLLIN, 0}, {requested, POLLIN, 0}}};
    while (Interruption::pending() == 0 &&
           ::ppoll(waiting.data(), waiting.size(), nullptr, &blocked.before()) <= 0) {
    }
    if (Interruption::pending() != 0) {
        return End::Interrupted;
    }
    return waiting[0].revents != 0 ? End::Unmounted : End::Requested;
}

void FuseWorkers::stop() {
    seeker_.stop(); // before the threads, because it waits for writes that they process
    scheduler_.stop();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

} // namespace storage::host
