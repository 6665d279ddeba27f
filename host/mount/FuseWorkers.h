#pragma once

#include "host/mount/Event.h"
#include "host/mount/FuseSession.h"
#include "host/mount/MemoryReserve.h"

#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace storage::host {

/// The threads that answer the kernel's requests, from construction until the mount has been taken away or `stop`.
///
/// Most requests are short, and come one after the other: the thread that answered the last is the best to take the
/// next, and waking another for it would only cost time. So one thread looks for requests as long as that is enough;
/// it calls another before it begins with a long one, and when requests pile up. A thread that finds nothing to do
/// rests, unless it is the only one that looks.
///
/// Owns the threads; borrows the session and the reserve. Signals are left to the thread that made the object.
/// Thread safety: one object is for one thread.
class FuseWorkers {
public:
    /// @param reserve  for requests that find no memory
    /// @param count    number of threads
    FuseWorkers(const FuseSession& session, MemoryReserve& reserve, unsigned count);

    /// As `stop`.
    ~FuseWorkers();

    FuseWorkers(const FuseWorkers&) = delete;
    FuseWorkers& operator=(const FuseWorkers&) = delete;

    enum class End { Unmounted, Interrupted };

    /// Waits until the mount has been taken away or one of the signals arrives that `Interruption` knows.
    End waitForEnd() const;

    /// Waits until no request is left to be answered: what the kernel has been told to write back has arrived. Programs
    /// that never stop asking are not waited for.
    void drain();

    /// Ends the threads, each after the request that it is at.
    void stop();

private:
    void answerRequests();
    bool nextRequest(fuse_buf& request, unsigned& inARow);
    int receivePatiently(fuse_buf& request);
    void sleepUntilRequest();
    bool isQuiet() const;
    bool rest();
    void callOne();
    void answer(const fuse_buf& request);
    void process(const fuse_buf& request);

    fuse_session* const device_;
    const Event stopping_;           ///< wakes the threads for the last time
    const Event ended_;              ///< the mount has been taken away
    std::shared_mutex reserveMutex_; ///< guards the reserve; shared by what may take memory and keep it
    MemoryReserve& reserve_;
    std::mutex mutex_; ///< guards what is below, but for the threads
    std::condition_variable called_;
    std::condition_variable quiet_; ///< perhaps nobody works
    bool waiting_ = false;          ///< the only thread that looks for requests sleeps until there is one
    unsigned readers_;     ///< threads that look for requests, or are at a short one and will look again
    unsigned resting_ = 0; ///< threads that wait to be called
    unsigned calls_ = 0;   ///< that no thread has heard yet
    std::vector<std::thread> threads_;
};

} // namespace storage::host
