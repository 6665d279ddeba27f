#include "host/mount/FileBytes.h"

#include "host/mount/ErrnoError.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ios>
#include <limits>
#include <new>

namespace storage::host {

namespace {

constexpr std::size_t zerosAtOnce = 1U << 20U; ///< bytes

/// Upper bound of the bytes that a provider holds twice when it moves a growing file to a larger block.
constexpr std::uint64_t copiedByProvider = 2U << 20U;

/// After a failure of the stream.
constexpr std::uint64_t unknownPosition = std::numeric_limits<std::uint64_t>::max();

/// The part of an extent that lies in a range of bytes.
struct ExtentPart {
    std::uint64_t offset; ///< in the file
    std::uint64_t end;    ///< in the file
    std::uint64_t stored; ///< offset in the storage

    ExtentPart(const SparseMap::Extent& extent, std::uint64_t from, std::uint64_t to)
        : offset(std::max(from, extent.first * pageSize)),
          end(std::min(to, extent.end() * pageSize)),
          stored(extent.stored * pageSize + (offset - extent.first * pageSize)) {}

    std::uint64_t size() const { return end - offset; }
};

} // namespace

void FileBytes::seekTo(std::uint64_t offset) {
    if (open_.position == offset) {
        return;
    }
    if (open_.stream->seek(static_cast<long>(offset), std::ios_base::beg) < 0) {
        throw ErrnoError(EIO);
    }
    open_.position = offset;
}

void FileBytes::readStored(std::uint64_t offset, std::span<char> buffer) {
    seekTo(offset);
    open_.position = unknownPosition;
    provider::readExactly(*open_.stream, buffer.data(), buffer.size());
    open_.position = offset + buffer.size();
}

/// If the provider's allocation fails, the program gets ENOSPC, as on a full file system.
void FileBytes::put(std::uint64_t offset, std::span<const char> bytes) {
    file_.isBeingCopied = false;
    seekTo(offset);
    open_.position = unknownPosition;
    try {
        provider::writeAll(*open_.stream, {bytes.data(), bytes.size()});
    } catch (const std::bad_alloc&) {
        throw ErrnoError(ENOSPC);
    }
    open_.position = offset + bytes.size();
    file_.storedSize = std::max(file_.storedSize, open_.position);
}

/// @param offset, end  in the storage
void FileBytes::putZeros(std::uint64_t offset, std::uint64_t end) {
    static const std::array<char, zerosAtOnce> zeros{};
    while (offset < end) {
        const auto count = std::min<std::uint64_t>(zeros.size(), end - offset);
        put(offset, std::span(zeros).first(count));
        offset += count;
    }
}

/// @param newPages  pages that are added to the file
void FileBytes::requireRoom(std::uint64_t storedBytes, std::uint64_t newPages) {
    space_.quota().requirePages(newPages);
    if (storedBytes > file_.storedSize) {
        space_.require(storedBytes - file_.storedSize, std::min(file_.storedSize, copiedByProvider));
    }
}

void FileBytes::read(std::uint64_t offset, std::span<char> buffer) {
    if (!file_.sparse) {
        readStored(offset, buffer);
        return;
    }
    const std::uint64_t end = offset + buffer.size();
    std::uint64_t filled = offset;
    const auto fillWithZeros = [&](std::uint64_t to) {
        std::ranges::fill(buffer.subspan(filled - offset, to - filled), '\0');
        filled = to;
    };
    file_.sparse->forEachIn(PageRange::covering(offset, end), [&](const SparseMap::Extent& extent) {
        if (extent.state == SparseMap::State::Written) {
            const ExtentPart part(extent, offset, end);
            fillWithZeros(part.offset);
            readStored(part.stored, buffer.subspan(part.offset - offset, part.size()));
            filled = part.end;
        }
    });
    fillWithZeros(end);
}

void FileBytes::write(std::uint64_t offset, std::span<const char> bytes) {
    if (!file_.sparse && pagesOf(file_.attributes.size) < offset / pageSize) {
        makeSparse();
    }
    file_.sparse ? writeSparse(offset, bytes) : writeDense(offset, bytes);
}

/// Appends first: if there is no space for that, nothing has been overwritten. Fills a gap before the offset
/// with zeros, because a stream would append the bytes at its end. That also overwrites slack of an earlier
/// truncation.
void FileBytes::writeDense(std::uint64_t offset, std::span<const char> bytes) {
    const std::uint64_t end = offset + bytes.size();
    requireRoom(end, pagesOf(std::max(end, file_.attributes.size)) - file_.pages());
    putZeros(file_.attributes.size, offset);
    const std::uint64_t inside = std::min<std::uint64_t>(file_.storedSize - offset, bytes.size());
    if (inside < bytes.size()) {
        put(offset + inside, bytes.subspan(inside));
    }
    if (inside > 0) {
        put(offset, bytes.first(inside));
    }
    file_.attributes.size = std::max(file_.attributes.size, end);
}

/// Writes new pages first: if there is no space for them, nothing has been overwritten. They become part of
/// the file when nothing can fail any more.
void FileBytes::writeSparse(std::uint64_t offset, std::span<const char> bytes) {
    SparseMap& map = *file_.sparse;
    const std::uint64_t end = offset + bytes.size();
    const PageRange pages = PageRange::covering(offset, end);
    map.splitAt(pages.first);
    map.splitAt(pages.end);
    SparseMap::Placement placement = map.place(pages, SparseMap::State::Written);
    requireRoom(placement.storedEnd() * pageSize, map.holesIn(pages));
    placement.forEach([&](const SparseMap::Extent& extent) { putNewPages(extent, offset, bytes); });
    clearTail(offset);
    map.forEachIn(pages, [&](const SparseMap::Extent& extent) {
        const ExtentPart part(extent, offset, end);
        put(part.stored, bytes.subspan(part.offset - offset, part.size()));
    });
    map.add(std::move(placement));
    map.markWritten(pages);
    file_.attributes.size = std::max(file_.attributes.size, end);
    dropDenseMap(file_);
}

/// Writes whole pages in the order in which they are stored, because the storage cannot have gaps.
void FileBytes::putNewPages(const SparseMap::Extent& extent, std::uint64_t offset,
                            std::span<const char> bytes) {
    const ExtentPart part(extent, offset, offset + bytes.size());
    const std::uint64_t storedEnd = (extent.stored + extent.count) * pageSize;
    putZeros(extent.stored * pageSize, part.stored);
    put(part.stored, bytes.subspan(part.offset - offset, part.size()));
    putZeros(part.stored + part.size(), storedEnd);
}

/// Zeroes the bytes from the size to the end of its page, or to `end` if that is less.
void FileBytes::clearTail(std::uint64_t end) {
    const std::uint64_t size = file_.attributes.size;
    if (end <= size || size % pageSize == 0) {
        return;
    }
    const std::uint64_t page = size / pageSize;
    const auto extent = file_.sparse->extentFrom(page);
    if (extent && extent->first == page && extent->state == SparseMap::State::Written) {
        const std::uint64_t stored = extent->stored * pageSize + size % pageSize;
        putZeros(stored, stored + std::min(end, (page + 1) * pageSize) - size);
    }
}

/// Pads the last page to a whole one.
void FileBytes::makeSparse() {
    const std::uint64_t pages = pagesOf(file_.attributes.size);
    requireRoom(pages * pageSize, 0);
    auto map = std::make_unique<SparseMap>(pages);
    putZeros(file_.attributes.size, pages * pageSize);
    file_.sparse = std::move(map);
}

void FileBytes::dropDenseMap(FileInode& file) noexcept {
    if (file.sparse && file.sparse->isDense(pagesOf(file.attributes.size))) {
        file.sparse.reset();
    }
}

void FileBytes::grow(std::uint64_t size) {
    if (!file_.sparse && size > pagesOf(file_.attributes.size) * pageSize) {
        makeSparse();
    }
    if (file_.sparse) {
        clearTail(size);
    } else {
        requireRoom(size, pagesOf(size) - file_.pages());
        putZeros(file_.attributes.size, size);
    }
    file_.isBeingCopied = false;
    file_.attributes.size = size;
    dropDenseMap(file_);
}

void FileBytes::shrink(FileInode& file, std::uint64_t size) noexcept {
    file.isBeingCopied = false;
    file.attributes.size = size;
    if (file.sparse) {
        file.sparse->remove({pagesOf(size), endOfPages}, std::numeric_limits<std::size_t>::max());
        dropDenseMap(file);
    }
}

std::uint64_t FileBytes::holesIn(PageRange range) const noexcept {
    if (file_.sparse) {
        return file_.sparse->holesIn(range);
    }
    return PageRange{std::max(range.first, pagesOf(file_.attributes.size)), range.end}.count();
}

/// Pages that were already reserved are reported as data afterwards, as in tmpfs.
void FileBytes::reserve(PageRange range, std::uint64_t needed, std::vector<PageRange>& added) {
    if (!file_.sparse && holesIn(range) == 0) {
        return;
    }
    if (!file_.sparse) {
        makeSparse();
    }
    SparseMap& map = *file_.sparse;
    map.splitAt(range.first);
    map.splitAt(range.end);
    SparseMap::Placement placement = map.place(range, SparseMap::State::Reserved);
    requireRoom(std::max(placement.storedEnd(), map.pages() + needed) * pageSize, needed);
    const std::size_t before = added.size();
    try {
        placement.forEach([&](const SparseMap::Extent& extent) {
            added.push_back({extent.first, extent.end()});
            putZeros(extent.stored * pageSize, (extent.stored + extent.count) * pageSize);
        });
    } catch (...) {
        added.resize(before);
        throw;
    }
    map.markWritten(range);
    map.add(std::move(placement));
}

void FileBytes::clear(std::uint64_t offset, std::uint64_t end) {
    end = std::min(end, file_.attributes.size);
    if (offset >= end) {
        return;
    }
    if (!file_.sparse) {
        putZeros(offset, end);
        return;
    }
    file_.sparse->forEachIn(PageRange::covering(offset, end), [&](const SparseMap::Extent& extent) {
        if (extent.state == SparseMap::State::Written) {
            const ExtentPart part(extent, offset, end);
            putZeros(part.stored, part.stored + part.size());
        }
    });
}

std::uint64_t FileBytes::makeHoles(PageRange range, std::size_t mostExtents) {
    if (!file_.sparse) {
        range.end = std::min(range.end, pagesOf(file_.attributes.size));
        if (range.isEmpty()) {
            return range.first;
        }
        makeSparse();
    }
    SparseMap& map = *file_.sparse;
    map.splitAt(range.end);
    map.splitAt(range.first);
    file_.isBeingCopied = false;
    const std::uint64_t left = map.remove(range, mostExtents);
    dropDenseMap(file_);
    return left;
}

} // namespace storage::host
