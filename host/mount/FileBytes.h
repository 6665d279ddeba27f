#pragma once

#include "host/mount/Inode.h"
#include "host/mount/SparseMap.h"
#include "host/mount/StorageSpace.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace storage::host {

/// The bytes of one file, with or without holes, while its guard is held and its stream is open.
///
/// A file has no `sparse` map until it gets its first hole, and has none any more when all its pages are stored in order.
/// Invariants of a file with holes: the storage holds whole pages; what is stored for a reserved page, and beyond the
/// page in which the size lies, are zeros. Bytes between the size and the end of its page may be anything, so growing clears them.
///
/// Borrows file, stream and space. Offsets are in bytes, of the file. Not thread-safe.
class FileBytes {
public:
    FileBytes(FileInode& file, OpenStream& open, StorageSpace& space)
        : file_(file), open_(open), space_(space) {}

    /// Fills the buffer.
    /// @pre the size is not exceeded
    void read(std::uint64_t offset, std::span<char> buffer);

    /// As `read`, with offsets in the storage.
    void readStored(std::uint64_t offset, std::span<char> buffer);

    /// Writes all bytes. A gap between the size and `offset` becomes a hole where it covers whole pages.
    /// @throws ErrnoError ENOSPC when there is no room, with the file as programs see it unchanged
    void write(std::uint64_t offset, std::span<const char> bytes);

    /// Sets a size that is not less. What is new is a hole, except in the last page.
    void grow(std::uint64_t size);

    /// Sets a size that is not more, and frees reserved pages beyond it.
    static void shrink(FileInode& file, std::uint64_t size) noexcept;

    /// Pages of a range that are not stored.
    std::uint64_t holesIn(PageRange range) const noexcept;

    /// Stores holes of the range as reserved pages. Pages that are reserved already become written zeros.
    /// @param needed  pages for which there must be room: these and those of later calls
    /// @param added   gets what was reserved
    /// @throws ErrnoError ENOSPC when there is no room, with nothing reserved
    void reserve(PageRange range, std::uint64_t needed, std::vector<PageRange>& added);

    /// Overwrites what is stored of a range with zeros.
    void clear(std::uint64_t offset, std::uint64_t end);

    /// Makes holes of pages, at most of so many extents.
    /// @return the end of what is left to do; `range.first` if nothing is
    std::uint64_t makeHoles(PageRange range, std::size_t mostExtents);

    /// Drops the map of a file whose pages are all stored in order.
    static void dropDenseMap(FileInode& file) noexcept;

private:
    void stand(std::uint64_t offset);
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
