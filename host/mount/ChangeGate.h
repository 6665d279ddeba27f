#pragma once

#include "host/mount/Mutex.h"

#include <atomic>
#include <cstdint>

namespace storage::host {

/// Admits requests that change a mounted storage, or refuses them while the content is exported.
///
/// Data that programs wrote before the gate was closed arrives from the kernel's cache later. Such a write is
/// admitted and counted, because an export that began earlier may lack it. Thread-safe.
class ChangeGate {
public:
    enum class Origin {
        Program,     ///< a program waits for the reply
        KernelCache, ///< the write of the program has already returned
    };

    /// Permission for one change, valid during its lifetime.
    class Passage {
    public:
        /// @throws ErrnoError EROFS for changes by programs while the gate is closed
        Passage(ChangeGate& gate, Origin origin);

    private:
        const SharedScopedLock lock_;
    };

    /// Refuses changes by programs from now on. Blocks until the current ones are done.
    void close();
    void open();

    bool isClosed() const noexcept { return closed_; }

    /// Number of changes from the kernel's cache since the gate was first closed.
    std::uint64_t lateChanges() const noexcept { return lateChanges_; }

private:
    SharedMutex mutex_;               ///< shared by changes, exclusive to close the gate
    std::atomic<bool> closed_{false}; ///< set while the mutex is held exclusively
    std::atomic<std::uint64_t> lateChanges_{0};
};

} // namespace storage::host
