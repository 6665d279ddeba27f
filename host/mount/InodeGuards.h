#pragma once

#include "host/mount/Inode.h"

#include <array>
#include <cstddef>
#include <mutex>

namespace storage::host {

/// Guards the attributes of inodes, and keeps streams open from one access of a file to the next: a fixed number of
/// places that all inodes share, so that any number of known files takes a bounded number of locks and streams.
///
/// Owns the streams. Lock order: the tree's lock, then one guard; nobody holds two guards.
/// Thread safety: any number of threads.
class InodeGuards {
    struct Place {
        std::mutex mutex;
        const FileInode* file = nullptr; ///< whose stream it is
        OpenStream open;
    };

public:
    /// An inode's guard, held.
    class Held {
    public:
        /// The file's stream as it was kept for it, or one without a stream. Valid as long as the guard is held.
        OpenStream& streamOf(FileInode& file) noexcept;

        /// Closes the stream that is kept for the file, unless the file has been removed.
        void closeStreamOf(const FileInode& file) noexcept;

    private:
        friend class InodeGuards;
        explicit Held(Place& place) : lock_(place.mutex), place_(&place) {}

        std::unique_lock<std::mutex> lock_;
        Place* place_;
    };

    Held hold(const Inode& inode) { return Held(places_[inode.number % places_.size()]); }

    /// Closes every stream that is kept, but those of removed files.
    void closeStreams();

private:
    static constexpr std::size_t placeCount = 256;

    std::array<Place, placeCount> places_;
};

} // namespace storage::host
