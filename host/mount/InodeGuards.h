#pragma once

#include "host/mount/Inode.h"
#include "host/mount/Mutex.h"

#include <array>
#include <cstddef>
#include <mutex>

namespace storage::host {

/// Guards the attributes of inodes, and keeps streams open from one access of a file to the next: a fixed number of
/// slots that all inodes share, so that any number of known files takes a bounded number of locks and streams.
///
/// Owns the streams. No thread holds two guards; the lock order is in docs/architecture.md, "The mount". Thread-safe.
class InodeGuards {
    struct Slot {
        Mutex mutex;
        const FileInode* file QZFL_GUARDED_BY(mutex) = nullptr; ///< the owner of the stream
        OpenStream open QZFL_GUARDED_BY(mutex);
    };

public:
    /// An inode's guard, held. A function that requires the guard takes a `Held`.
    class Held {
    public:
        /// The stream that is kept for the file; an empty one if there is none. Valid as long as the guard is held.
        OpenStream& streamOf(FileInode& file) noexcept;

        /// Closes the stream that is kept for the file, unless the file is detached.
        void closeStreamOf(const FileInode& file) noexcept;

    private:
        friend class InodeGuards;
        explicit Held(Slot& slot) : lock_(slot.mutex), slot_(&slot) {}

        std::unique_lock<Mutex> lock_;
        Slot* slot_;
    };

    Held hold(const Inode& inode) { return Held(slots_[inode.number % slots_.size()]); }

    /// Closes all streams that are kept here. Detached files have their own.
    void closeStreams();

private:
    static constexpr std::size_t slotCount = 256;

    std::array<Slot, slotCount> slots_;
};

} // namespace storage::host
