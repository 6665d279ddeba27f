#pragma once

#include "host/mount/FuseDevice.h"
#include "host/mount/RequestScheduler.h"

#include <chrono>
#include <thread>
#include <vector>

namespace storage::host {

/// The threads that process the kernel's requests, from construction until the unmount or `stop`.
///
/// Owns the threads. Borrows the session and the space. Signals are blocked in the threads. Not thread-safe.
class FuseWorkers {
public:
    /// @param count  number of threads
    FuseWorkers(const FuseSession& session, StorageSpace& space, unsigned count);

    /// As `stop`.
    ~FuseWorkers();

    FuseWorkers(const FuseWorkers&) = delete;
    FuseWorkers& operator=(const FuseWorkers&) = delete;

    enum class End { Unmounted, Interrupted, Requested };

    /// Waits for the unmount, for a signal that `Interruption` handles, or until `requested` is readable.
    End waitForEnd(int requested) const;

    /// Waits until all requests are processed, including the kernel's write-back.
    /// @param longest  time limit, for programs that never stop making requests
    RequestScheduler::Drained drain(std::chrono::milliseconds longest) { return scheduler_.drain(longest); }

    /// Whether the file system has been unmounted.
    bool hasEnded() const noexcept { return device_.hasEnded(); }

    /// Stops the threads, each after its current request.
    void stop();

private:
    HoleSeeker& seeker_;
    FuseDevice device_;
    RequestScheduler scheduler_;
    std::vector<std::thread> threads_;
};

} // namespace storage::host
