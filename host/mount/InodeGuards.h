#pragma once

#include "host/mount/Inode.h"
#include "host/mount/Mutex.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <utility>

namespace storage::host {

/// Guards the attributes of inodes with one lock per inode. Keeps streams open between accesses of a file, in
/// a fixed number of slots that all inodes share, so that the number of open streams is bounded.
///
/// Owns the streams. While an inode's guard is held, the file's stream is out of its slot, so a long access
/// does not block other files of the slot. No thread holds two guards; the lock order is in
/// docs/architecture.md, "Locks of the mount". Thread-safe.
class InodeGuards {
    struct Slot {
        Mutex mutex;
        std::condition_variable_any changed;
        const FileInode*
            file QZFL_GUARDED_BY(mutex) = nullptr; ///< owner of the stream kept or last taken here
        OpenStream open QZFL_GUARDED_BY(mutex);
        unsigned taken QZFL_GUARDED_BY(mutex) = 0;     ///< streams in use by threads that hold guards
        bool isClosing QZFL_GUARDED_BY(mutex) = false; ///< no stream may be taken

        /// Notes that a taken stream was closed.
        void countOut();
    };

public:
    /// The guard of an inode, held. A function that requires the guard has a `Held` parameter.
    class Held {
    public:
        Held(Held&& other) noexcept
            : inode_(std::exchange(other.inode_, nullptr)),
              slot_(other.slot_),
              file_(std::exchange(other.file_, nullptr)),
              open_(std::move(other.open_)) {}
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        Held& operator=(Held&&) = delete;
        ~Held();

        /// The stream that is kept for the file; an empty one if there is none. Valid while the guard is held
        /// and not moved.
        OpenStream& streamOf(FileInode& file);

        /// Closes the stream that is kept for the file, unless the file is detached.
        void closeStreamOf(const FileInode& file);

    private:
        friend class InodeGuards;
        Held(const Inode& inode, Slot& slot) noexcept : inode_(&inode), slot_(&slot) { inode.lock.lock(); }

        bool keepStream();

        const Inode* inode_; ///< null when moved from
        Slot* slot_;
        const FileInode* file_ = nullptr; ///< owner of `open_`; null while no stream is taken
        OpenStream open_;
    };

    Held hold(const Inode& inode) { return Held(inode, slots_[inode.number % slots_.size()]); }

    /// Closes all streams that are kept here, including those in use, after that use. No stream may be opened
    /// meanwhile. Detached files have their own.
    void closeStreams();

private:
    static constexpr std::size_t slotCount = 256;

    std::array<Slot, slotCount> slots_;
};

} // namespace storage::host
