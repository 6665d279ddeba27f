#include "host/mount/FuseWorkers.h"

#include "host/support/Interruption.h"
#include "host/support/SystemCall.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <pthread.h>

namespace storage::host {

namespace {

using Clock = std::chrono::steady_clock;

/// Most programs make their next request as soon as they have the answer to the last. A thread that looks for it for
/// this long need not be woken, which takes longer than most requests.
constexpr std::chrono::microseconds patience(20);

/// Keeps all signals from the calling thread and from those it starts, as long as it lives.
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

constexpr std::chrono::seconds longestDrain(20);
constexpr unsigned pileOfRequests = 16;            ///< that one thread does not work off by itself
constexpr std::uint32_t longTransfer = 64U << 10U; ///< bytes

/// What follows the header of a request, by the request's kind.
template <typename Body>
const Body& bodyOf(const fuse_in_header* header) {
    return *reinterpret_cast<const Body*>(header + 1);
}

/// Whether a request may take much longer than waking a thread does.
bool isLong(const fuse_buf& request) {
    const auto* const header = static_cast<const fuse_in_header*>(request.mem);
    switch (header->opcode) {
    case FUSE_READ:
        return bodyOf<fuse_read_in>(header).size >= longTransfer;
    case FUSE_WRITE:
        return bodyOf<fuse_write_in>(header).size >= longTransfer;
    case FUSE_SETATTR:
        return (bodyOf<fuse_setattr_in>(header).valid & FATTR_SIZE) != 0;
    case FUSE_FALLOCATE:
    case FUSE_READDIR:
    case FUSE_READDIRPLUS:
        return true;
    default:
        return false;
    }
}

/// Whether the storage holds more after a request than before.
bool isGrowing(const fuse_buf& request) {
    switch (static_cast<const fuse_in_header*>(request.mem)->opcode) {
    case FUSE_MKNOD:
    case FUSE_MKDIR:
    case FUSE_WRITE:
    case FUSE_FALLOCATE:
        return true;
    default:
        return false;
    }
}

} // namespace

FuseWorkers::FuseWorkers(const FuseSession& session, MemoryReserve& reserve, unsigned count)
    : device_(session.device()), reserve_(reserve), readers_(count) {
    const int descriptor = fuse_session_fd(device_);
    checked(::fcntl(descriptor, F_SETFL, checked(::fcntl(descriptor, F_GETFL), "fcntl") | O_NONBLOCK),
            "fcntl");
    const BlockedSignals blocked;
    threads_.reserve(count);
    try {
        for (unsigned i = 0; i < count; ++i) {
            threads_.emplace_back([this] { answerRequests(); });
        }
    } catch (...) {
        stop();
        throw;
    }
}

FuseWorkers::~FuseWorkers() {
    stop();
}

FuseWorkers::End FuseWorkers::waitForEnd() const {
    const BlockedSignals blocked; // but while waiting, so that none is missed just before
    pollfd waiting{ended_.descriptor(), POLLIN, 0};
    while (Interruption::pending() == 0 && ::ppoll(&waiting, 1, nullptr, &blocked.before()) <= 0) {
    }
    return Interruption::pending() == 0 ? End::Unmounted : End::Interrupted;
}

void FuseWorkers::drain() {
    std::unique_lock lock(mutex_);
    quiet_.wait_for(lock, longestDrain, [this] { return isQuiet() || fuse_session_exited(device_) != 0; });
}

void FuseWorkers::stop() {
    {
        const std::lock_guard lock(mutex_);
        fuse_session_exit(device_);
    }
    stopping_.happen();
    called_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

void FuseWorkers::answerRequests() {
    fuse_buf request{};
    unsigned inARow = 0;
    while (nextRequest(request, inARow)) {
        answer(request);
    }
    std::free(request.mem); // NOLINT(cppcoreguidelines-no-malloc): the library allocates it so
    {
        const std::lock_guard lock(mutex_);
        fuse_session_exit(device_);
    }
    called_.notify_all();
    quiet_.notify_all();
    ended_.happen();
}

/// @param inARow  how many requests were there already when this thread looked for them
/// @return false when there is none to come
bool FuseWorkers::nextRequest(fuse_buf& request, unsigned& inARow) {
    while (fuse_session_exited(device_) == 0) {
        int received = fuse_session_receive_buf(device_, &request);
        inARow = received > 0 ? inARow + 1 : 0;
        if (inARow == pileOfRequests) {
            inARow = 0;
            const std::lock_guard lock(mutex_);
            callOne();
        }
        if (received == -EAGAIN && !rest()) {
            received = receivePatiently(request);
        }
        if (received > 0) {
            return true;
        }
    }
    return false;
}

int FuseWorkers::receivePatiently(fuse_buf& request) {
    const Clock::time_point end = Clock::now() + patience;
    int received = -EAGAIN;
    while (received == -EAGAIN && Clock::now() < end) {
        received = fuse_session_receive_buf(device_, &request);
    }
    if (received == -EAGAIN) {
        sleepUntilRequest();
    }
    return received;
}

void FuseWorkers::sleepUntilRequest() {
    {
        const std::lock_guard lock(mutex_);
        waiting_ = true;
    }
    quiet_.notify_all();
    std::array<pollfd, 2> waiting{
        {{fuse_session_fd(device_), POLLIN, 0}, {stopping_.descriptor(), POLLIN, 0}}};
    ::poll(waiting.data(), waiting.size(), -1);
    const std::lock_guard lock(mutex_);
    waiting_ = false;
}

/// Whether nobody works and nothing waits to be worked on. Needs the mutex: then nobody begins meanwhile.
bool FuseWorkers::isQuiet() const {
    pollfd device{fuse_session_fd(device_), POLLIN, 0};
    return waiting_ && resting_ + 1 == threads_.size() && ::poll(&device, 1, 0) == 0;
}

/// Waits to be called, if another thread looks for requests. @return whether it did
bool FuseWorkers::rest() {
    std::unique_lock lock(mutex_);
    if (readers_ == 1) {
        return false;
    }
    --readers_;
    ++resting_;
    quiet_.notify_all();
    called_.wait(lock, [this] { return calls_ > 0 || fuse_session_exited(device_) != 0; });
    --resting_;
    calls_ -= calls_ > 0 ? 1 : 0;
    return true;
}

/// The thread that is called counts as looking from here on.
void FuseWorkers::callOne() {
    if (resting_ > calls_) {
        ++calls_;
        ++readers_;
        called_.notify_one();
    }
}

void FuseWorkers::answer(const fuse_buf& request) {
    if (!isLong(request)) {
        process(request);
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        if (--readers_ == 0) {
            callOne();
        }
    }
    process(request);
    const std::lock_guard lock(mutex_);
    ++readers_;
}

/// While the reserve is given up, nobody makes anything grow: it would be gone for good.
void FuseWorkers::process(const fuse_buf& request) {
    if (isGrowing(request)) {
        const std::shared_lock lock(reserveMutex_);
        fuse_session_process_buf(device_, &request);
    } else if (reserve_.isNeeded()) {
        const std::unique_lock lock(reserveMutex_);
        reserve_.giveUp();
        fuse_session_process_buf(device_, &request);
        reserve_.restore();
    } else {
        fuse_session_process_buf(device_, &request);
    }
}

} // namespace storage::host
