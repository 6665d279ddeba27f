#pragma once

#include "host/mount/Inode.h"
#include "host/mount/SparseMap.h"
#include "host/mount/StorageSpace.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace storage::host {

/// Accesses the bytes of one file, with or without holes, while its guard is held and its stream is open.
///
/// A file gets a `sparse` map with its first hole and drops it when all its pages are stored in order.
/// Invariants of a file with holes: the storage holds whole pages; stored bytes of reserved pages, and of
/// pages beyond the one that contains the size, are zeros. Bytes between the size and the end of its page are
/// undefined, so growing clears them.
///
/// Borrows file, stream and space. Offsets are in bytes, of the file. Not thread-safe.
class FileBytes {
public:
    FileBytes(FileInode& file, OpenStream& open, StorageSpace& space)
        : file_(file), open_(open), space_(space) {}

    /// Fills the buffer.
    /// @pre the range does not exceed the size
    void read(std::uint64_t offset, std::span<char> buffer);

    /// As `read`, but with offsets in the storage.
    void readStored(std::uint64_t offset, std::span<char> buffer);

    /// Writes all bytes. A gap between the size and `offset` becomes a hole where it covers whole pages.
    /// @throws ErrnoError ENOSPC when there is no space; the content visible to programs is unchanged
    void write(std::uint64_t offset, std::span<const char> bytes);

    /// Sets a size that is not less than the current one. The new range is a hole, except in the last page.
    void grow(std::uint64_t size);

    /// Sets a size that is not greater than the current one. Frees reserved pages beyond it.
    static void shrink(FileInode& file, std::uint64_t size) noexcept;

    /// Number of pages of a range that are not stored.
    std::uint64_t holesIn(PageRange range) const noexcept;

    /// Stores holes of the range as reserved pages. Pages that are reserved already become written zeros.
    /// @param needed  pages for which there must be space, including later calls
    /// @param added   receives the reserved ranges
    /// @throws ErrnoError ENOSPC when there is no space; nothing is reserved then
    void reserve(PageRange range, std::uint64_t needed, std::vector<PageRange>& added);

    /// Overwrites the stored bytes of a range with zeros.
    void clear(std::uint64_t offset, std::uint64_t end);

    /// Turns the pages of at most `mostExtents` extents into holes.
    /// @return the end of the remaining range; `range.first` if none remains
    std::uint64_t makeHoles(PageRange range, std::size_t mostExtents);

    /// Drops the map of a file if all its pages are stored in order.
    static void dropDenseMap(FileInode& file) noexcept;

private:
    void seekTo(std::uint64_t offset);
    void put(std::uint64_t offset, std::span<const char> bytes);
    void putZeros(std::uint64_t offset, std::uint64_t end);
    void requireRoom(std::uint64_t storedBytes, std::uint64_t newPages);
    void makeSparse();
    void writeDense(std::uint64_t offset, std::span<const char> bytes);
    void writeSparse(std::uint64_t offset, std::span<const char> bytes);
    void putNewPages(const SparseMap::Extent& extent, std::uint64_t offset, std::span<const char> bytes);
    void clearTail(std::uint64_t end);

    FileInode& file_;
    OpenStream& open_;
    StorageSpace& space_;
};

} // namespace storage::host
