#pragma once

#include "host/mount/Inode.h"
#include "host/mount/KernelCache.h"
#include "host/mount/Mutex.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <thread>

namespace storage::host {

class MountedStorage;

/// Replies to requests for the next data or the next hole of a file.
///
/// Data in the kernel's write-back cache looks like a hole here. So the kernel must write back the pages of
/// each hole before the reply. That blocks until the writes have been processed. The threads that process
/// requests must not all block here, so seeking has its own thread.
///
/// Owns the thread, which starts with the first request. Borrows the storage. Thread-safe.
class HoleSeeker {
public:
    enum class Target { Data, Hole };

    struct Seek {
        fuse_req_t request;
        fuse_session* session;
        FileInode* file; ///< exists until the reply, because the program has it open
        fuse_ino_t number;
        std::uint64_t offset; ///< bytes
        Target target;
    };

    explicit HoleSeeker(MountedStorage& storage) : storage_(storage) {}

    /// As `stop`.
    ~HoleSeeker();

    HoleSeeker(const HoleSeeker&) = delete;
    HoleSeeker& operator=(const HoleSeeker&) = delete;

    /// Queues the request. The thread replies to it.
    /// @throws ErrnoError ENOTCONN after `stop`; std::system_error when no thread can be started;
    ///         std::bad_alloc. The caller then replies.
    void add(const Seek& seek);

    /// Waits until the current seek has been answered. Refuses all others.
    void stop() noexcept;

private:
    void serve();
    void reply(const Seek& seek) noexcept;
    std::uint64_t find(const Seek& seek);
    std::uint64_t findData(const Seek& seek);
    std::uint64_t findHole(const Seek& seek);

    MountedStorage& storage_;
    Mutex mutex_;
    std::condition_variable_any added_;
    std::deque<Seek> seeks_ QZFL_GUARDED_BY(mutex_);
    bool isStopped_ QZFL_GUARDED_BY(mutex_) = false;
    std::thread thread_ QZFL_GUARDED_BY(mutex_);
};

} // namespace storage::host
