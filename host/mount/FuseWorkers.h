#pragma once

#include "host/mount/FuseDevice.h"
#include "host/mount/RequestScheduler.h"

#include <chrono>
#include <thread>
#include <vector>

namespace storage::host {

/// The threads that process the kernel's requests, from construction until the mount has been taken away or `stop`.
///
/// Owns the threads; borrows the session and the space. Signals are blocked in the threads. Not thread-safe.
class FuseWorkers {
public:
    /// @param count  number of threads
    FuseWorkers(const FuseSession& session, StorageSpace& space, unsigned count);

    /// As `stop`.
    ~FuseWorkers();

    FuseWorkers(const FuseWorkers&) = delete;
    FuseWorkers& operator=(const FuseWorkers&) = delete;

    enum class End { Unmounted, Interrupted, Requested };

    /// Waits until the mount has been taken away, a signal arrives that `Interruption` handles, or `requested` is readable.
    End waitForEnd(int requested) const;

    /// Waits until all requests are processed, so that what the kernel wrote back has arrived.
    /// @param longest  for programs that never stop making requests
    RequestScheduler::Drained drain(std::chrono::milliseconds longest) { return scheduler_.drain(longest); }

    /// Whether the mount has been taken away.
    bool hasEnded() const noexcept { return device_.hasEnded(); }

    /// Ends the threads, each after the request that it processes.
    void stop();

private:
    HoleSeeker& seeker_;
    FuseDevice device_;
    RequestScheduler scheduler_;
    std::vector<std::thread> threads_;
};

} // namespace storage::host
