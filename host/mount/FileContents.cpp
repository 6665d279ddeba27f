#include "host/mount/FileContents.h"

#include "host/mount/AccessTime.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <new>
#include <vector>

namespace storage::host {

using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ReplacementPolicy;
using provider::requireNonNull;

namespace {

constexpr std::size_t copiedAtOnce = 1U << 20U; ///< bytes
constexpr std::uint64_t muchSlack = 64U << 10U; ///< bytes, below which trimming does not pay
const std::u16string hiddenName = u"\xD800";    ///< not valid UTF-16, so no program can use or see it

// Upper bounds of one step, during which the locks are held: it takes milliseconds.
constexpr std::uint64_t clearedAtOnce = 32U << 20U; ///< bytes
constexpr std::size_t extentsAtOnce = 10'000;

constexpr auto largestSize = static_cast<std::uint64_t>(std::numeric_limits<long>::max());

std::u16string numberText(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void requireUnchanged(const FileInode& file) {
    if (!file.isBeingCopied) {
        throw ErrnoError(EBUSY);
    }
}

bool isWritten(const SparseMap::Extent& extent) {
    return extent.state == SparseMap::State::Written;
}

} // namespace

std::size_t FileContents::read(FileInode& file, std::uint64_t offset, std::span<char> buffer) {
    auto held = access(file, OpenStream::Access::ReadOnly);
    if (offset >= file.attributes.size) {
        return 0;
    }
    const auto wanted = std::min<std::uint64_t>(buffer.size(), file.attributes.size - offset);
    bytesOf(file, held).read(offset, buffer.first(wanted));
    noteAccess(file);
    return wanted;
}

/// If the write fails, frees the slack that it has left.
FileContents::CachedBlocks FileContents::write(FileInode& file, std::uint64_t offset,
                                               std::span<const char> bytes) {
    if (offset > largestSize - bytes.size()) {
        throw ErrnoError(EFBIG);
    }
    const StorageSpace::Turn turn(space_);
    try {
        auto held = access(file, OpenStream::Access::ReadWrite);
        const StorageQuota::Charge charge(space_.quota(), file);
        bytesOf(file, held).write(offset, bytes);
        return cachedBlocksOf(file);
    } catch (...) {
        trimSlack(file);
        throw;
    }
}

std::uint64_t FileContents::reportPages(const FileInode& file) noexcept {
    const std::uint64_t pages = file.pages();
    file.reportedPages =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(pages, std::numeric_limits<std::uint32_t>::max()));
    return pages;
}

/// A file without holes may grow by an eighth before its count is outdated; one with holes must match
/// exactly. A removed file is never outdated: the kernel may be freeing its inode, and invalidating the
/// attributes would then wait for writes that other threads process.
FileContents::CachedBlocks FileContents::cachedBlocksOf(const FileInode& file) noexcept {
    constexpr std::uint64_t tolerated = 8;
    const std::uint64_t reported = file.reportedPages;
    const std::uint64_t pages = file.pages();
    if (file.detached || (file.sparse ? pages == reported : pages <= reported + reported / tolerated)) {
        return CachedBlocks::Current;
    }
    reportPages(file);
    return CachedBlocks::Outdated;
}

void FileContents::allocate(FileInode& file, int mode, std::uint64_t offset, std::uint64_t length,
                            const IsInterrupted& isInterrupted) {
    if (offset > largestSize - length) {
        throw ErrnoError(EFBIG);
    }
    const StorageSpace::Turn turn(space_);
    const std::uint64_t end = offset + length;
    const bool keepsSize = (mode & FALLOC_FL_KEEP_SIZE) != 0;
    switch (mode & ~FALLOC_FL_KEEP_SIZE) {
    case 0:
        reserve(file, PageRange::covering(offset, end), isInterrupted);
        break;
    case FALLOC_FL_ZERO_RANGE:
        reserve(file, PageRange::covering(offset, end), isInterrupted);
        clear(file, offset, end, isInterrupted);
        break;
    case FALLOC_FL_PUNCH_HOLE:
        makeHole(file, offset, end);
        trimSlack(file);
        return;
    default:
        throw ErrnoError(EOPNOTSUPP);
    }
    if (!keepsSize) {
        growTo(file, end);
    }
}

/// If it fails, frees the pages that it has reserved.
void FileContents::reserve(FileInode& file, PageRange pages, const IsInterrupted& isInterrupted) {
    std::vector<PageRange> added;
    try {
        reserveInSteps(file, pages, isInterrupted, added);
    } catch (...) {
        unreserve(file, added);
        trimSlack(file);
        throw;
    }
}

void FileContents::reserveInSteps(FileInode& file, PageRange pages, const IsInterrupted& isInterrupted,
                                  std::vector<PageRange>& added) {
    constexpr std::uint64_t pagesAtOnce = clearedAtOnce / pageSize;
    std::uint64_t needed = 0;
    {
        auto held = access(file, OpenStream::Access::ReadWrite);
        needed = bytesOf(file, held).holesIn(pages);
    }
    while (!pages.isEmpty()) {
        const PageRange step{pages.first, std::min(pages.end, pages.first + pagesAtOnce)};
        if (!added.empty() && isInterrupted()) {
            throw ErrnoError(EINTR);
        }
        auto held = access(file, OpenStream::Access::ReadWrite);
        const StorageQuota::Charge charge(space_.quota(), file);
        FileBytes bytes = bytesOf(file, held);
        const std::uint64_t holes = bytes.holesIn(step);
        bytes.reserve(step, std::max(needed, holes), added);
        needed -= std::min(needed, holes);
        pages.first = step.end;
    }
}

/// Keeps pages that were written meanwhile.
void FileContents::unreserve(FileInode& file, const std::vector<PageRange>& added) noexcept {
    try {
        const auto held = guards_.hold(file);
        const StorageQuota::Charge charge(space_.quota(), file);
        file.isBeingCopied = false;
        for (const PageRange& range : added) {
            if (file.sparse) {
                file.sparse->removeReserved(range);
            }
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
        // The pages stay reserved.
    }
}

void FileContents::growTo(FileInode& file, std::uint64_t size) {
    auto held = access(file, OpenStream::Access::ReadWrite);
    if (size > file.attributes.size) {
        const StorageQuota::Charge charge(space_.quota(), file);
        bytesOf(file, held).grow(size);
    }
}

void FileContents::clear(FileInode& file, std::uint64_t offset, std::uint64_t end,
                         const IsInterrupted& isInterrupted) {
    for (; offset < end; offset += std::min(clearedAtOnce, end - offset)) {
        if (isInterrupted()) {
            throw ErrnoError(EINTR);
        }
        auto held = access(file, OpenStream::Access::ReadWrite);
        if (offset >= file.attributes.size) {
            return;
        }
        bytesOf(file, held).clear(offset, std::min(end, offset + clearedAtOnce));
    }
}

/// Where the range covers only a part of a page, overwrites that part with zeros.
void FileContents::makeHole(FileInode& file, std::uint64_t offset, std::uint64_t end) {
    PageRange pages = PageRange::within(offset, end);
    {
        auto held = access(file, OpenStream::Access::ReadWrite);
        FileBytes bytes = bytesOf(file, held);
        bytes.clear(offset, pages.isEmpty() ? end : pages.first * pageSize);
        bytes.clear(std::max(offset, pages.end * pageSize), end);
    }
    while (!pages.isEmpty()) {
        auto held = access(file, OpenStream::Access::ReadWrite);
        const StorageQuota::Charge charge(space_.quota(), file);
        pages.end = bytesOf(file, held).makeHoles(pages, extentsAtOnce);
    }
}

std::uint64_t FileContents::seekData(FileInode& file, std::uint64_t offset) {
    const auto held = holdKnown(file);
    const std::uint64_t size = file.attributes.size;
    if (!file.sparse && offset < size) {
        return offset;
    }
    std::uint64_t page = offset / pageSize;
    while (page < pagesOf(size) && offset < size) {
        const auto extent = file.sparse->extentFrom(page);
        if (!extent || extent->first >= pagesOf(size)) {
            break;
        }
        if (isWritten(*extent)) {
            return std::max(offset, extent->first * pageSize);
        }
        page = extent->end();
    }
    throw ErrnoError(ENXIO);
}

std::uint64_t FileContents::seekHole(FileInode& file, std::uint64_t offset) {
    const auto held = holdKnown(file);
    const std::uint64_t size = file.attributes.size;
    if (offset >= size) {
        throw ErrnoError(ENXIO);
    }
    if (!file.sparse) {
        return size;
    }
    std::uint64_t page = offset / pageSize;
    for (auto extent = file.sparse->extentFrom(page); extent && extent->first == page && isWritten(*extent);
         extent = file.sparse->extentFrom(page)) {
        page = extent->end();
    }
    return std::min(size, std::max(offset, page * pageSize));
}

void FileContents::prepareToShrink(FileInode& file, std::uint64_t size) {
    std::uint64_t left = endOfPages;
    while (left > pagesOf(size)) {
        const auto held = guards_.hold(file);
        if (!file.sparse || file.sparse->extents() <= extentsAtOnce || size >= file.attributes.size) {
            return;
        }
        const StorageQuota::Charge charge(space_.quota(), file);
        file.isBeingCopied = false;
        left = file.sparse->remove({pagesOf(size), endOfPages}, extentsAtOnce);
    }
}

void FileContents::resize(const LockedTree& tree, FileInode& file, InodeGuards::Held& held,
                          std::uint64_t size) {
    if (size > largestSize) {
        throw ErrnoError(EFBIG);
    }
    const StorageQuota::Charge charge(space_.quota(), file);
    if (size > file.attributes.size) {
        FileBytes(file, streamOf(tree, file, held, OpenStream::Access::ReadWrite), space_).grow(size);
    } else {
        FileBytes::shrink(file, size);
    }
}

/// A stored file can be shortened only by copying the bytes that stay. It is trimmed only when most of it is
/// slack, which makes truncation amortized O(1) per byte written.
///
/// Other requests run between the blocks. A request that changes or moves this file makes the copy fail.
void FileContents::trimSlack(FileInode& file) noexcept {
    OpenStream old; // destroyed after all locks are released, because freeing a large file takes long
    try {
        {
            const auto held = guards_.hold(file);
            FileBytes::dropDenseMap(file); // a failed change may have left a map that is not needed
        }
        if (!hasMuchSlack(file)) {
            return;
        }
        auto copy = beginCopy(ExclusiveTree(tree_), file, Holes::Kept);
        try {
            while (copyBlock(file, access(file, OpenStream::Access::ReadOnly), copy)) {
            }
            const ExclusiveTree tree(tree_);
            old = replaceByCopy(tree, file, copy);
        } catch (...) {
            discardCopy(ExclusiveTree(tree_), file, copy);
            throw;
        }
        space_.noteRemoval();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The slack stays until the file is removed or grows into it.
    }
}

bool FileContents::hasMuchSlack(const FileInode& file) {
    const auto held = guards_.hold(file);
    const std::uint64_t needed = file.sparse ? file.sparse->pages() * pageSize : file.attributes.size;
    return !file.detached && !file.isBeingCopied && file.storedSize >= needed + muchSlack &&
           needed < file.storedSize / 2;
}

void FileContents::settle(const ExclusiveTree& tree, FileInode& file) {
    if (!file.attributesKnown || file.detached) {
        return;
    }
    if (file.sparse || file.storedSize > file.attributes.size) {
        shorten(tree, file);
    }
    provider_.doSetLastModified(tree.locationOf(file), fromDiskTime(file.attributes.modified));
}

/// Copies the bytes that stay to a new file, which then replaces the old one. Truncating through the provider
/// could keep the memory allocated, and a failure midway would lose bytes.
void FileContents::shorten(const ExclusiveTree& tree, FileInode& file) {
    if (tree.isRemoved(file)) {
        return;
    }
    auto copy = beginCopy(tree, file, Holes::Filled);
    try {
        const auto copyNext = [&] {
            auto held = guards_.hold(file);
            streamOf(tree, file, held, OpenStream::Access::ReadOnly);
            return copyBlock(file, std::move(held), copy);
        };
        while (copyNext()) {
        }
        replaceByCopy(tree, file, copy);
    } catch (...) {
        discardCopy(tree, file, copy);
        throw;
    }
}

/// The copy is in the root, because no program can remove or rename the root.
FileContents::Copy FileContents::beginCopy(const ExclusiveTree& tree, FileInode& file, Holes holes) {
    FolderInode& root = tree_.root();
    tree.loadAttributes(root);
    const LiftedFlag writable(provider_, tree, root);
    const bool keepsHoles = holes == Holes::Kept && file.sparse;
    space_.require(keepsHoles ? file.sparse->pages() * pageSize : file.attributes.size);
    Copy copy{tree.locationOf(root, hiddenName + numberText(file.number)), nullptr,
              keepsHoles ? std::make_unique<SparseMap>() : nullptr};
    copy.stream = requireNonNull(provider_.doOpenStream(copy.location, {.content = ByteStreamContent::Empty}),
                                 "stream");
    provider_.doSetLastModified(tree.locationOf(root), fromDiskTime(root.attributes.modified));
    const auto held = guards_.hold(file);
    file.isBeingCopied = true;
    return copy;
}

/// @param held  with the file's stream open
/// @return whether there is more to copy
bool FileContents::copyBlock(FileInode& file, InodeGuards::Held held, Copy& copy) {
    requireUnchanged(file);
    FileBytes bytes = bytesOf(file, held);
    std::vector<char> block;
    if (copy.map) {
        const auto extent = file.sparse->extentFrom(copy.position / pageSize);
        if (!extent) {
            return false;
        }
        const std::uint64_t pages = std::min<std::uint64_t>(extent->count, copiedAtOnce / pageSize);
        block.resize(pages * pageSize);
        bytes.readStored(extent->stored * pageSize, block);
        copy.map->append(extent->first, pages, extent->state);
        copy.position = (extent->first + pages) * pageSize;
    } else {
        block.resize(std::min<std::uint64_t>(file.attributes.size - copy.position, copiedAtOnce));
        bytes.read(copy.position, block);
        copy.position += block.size();
    }
    writeAll(*copy.stream, {block.data(), block.size()});
    copy.size += block.size();
    return copy.map || copy.position < file.attributes.size;
}

/// @return the stream of the old bytes, which frees them
OpenStream FileContents::replaceByCopy(const ExclusiveTree& tree, FileInode& file, Copy& copy) {
    FolderInode& root = tree_.root();
    FolderInode& folder = tree.isRemoved(file) ? root : *tree.parentOf(file);
    tree.loadAttributes(root);
    tree.loadAttributes(folder);
    auto held = guards_.hold(file);
    requireUnchanged(file);
    copy.stream->flush();
    copy.stream.reset();
    OpenStream old = std::move(held.streamOf(file));
    held.closeStreamOf(file);
    const StorageIRI location = tree.locationOf(file);
    {
        const LiftedFlag rootWritable(provider_, tree, root);
        const LiftedFlag folderWritable(provider_, tree, folder);
        const LiftedFlag writable(provider_, tree, file);
        provider_.doMoveFile(copy.location, location, ReplacementPolicy::ReplaceExisting);
    }
    file.storedSize = copy.size;
    file.sparse.swap(copy.map);
    FileBytes::dropDenseMap(file);
    file.isBeingCopied = false;
    provider_.doSetLastModified(location, fromDiskTime(file.attributes.modified));
    provider_.doSetLastModified(tree.locationOf(folder), fromDiskTime(folder.attributes.modified));
    provider_.doSetLastModified(tree.locationOf(root), fromDiskTime(root.attributes.modified));
    return old;
}

/// If a failed move has removed its target, the copy takes the target's place.
void FileContents::discardCopy(const ExclusiveTree& tree, FileInode& file, Copy& copy) noexcept {
    try {
        copy.stream.reset();
        FolderInode& root = tree_.root();
        const LiftedFlag writable(provider_, tree, root);
        if (tree.isRemoved(file) || provider_.doFileExists(tree.locationOf(file))) {
            provider_.doRemoveFile(copy.location);
        } else if (provider_.doFileExists(copy.location)) {
            provider_.doMoveFile(copy.location, tree.locationOf(file), ReplacementPolicy::RefuseExisting);
        }
        provider_.doSetLastModified(tree.locationOf(root), fromDiskTime(root.attributes.modified));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The copy stays, where no program can see it.
    }
}

void FileContents::detach(const ExclusiveTree& tree, FileInode& file) {
    auto held = guards_.hold(file);
    file.isBeingCopied = false;
    try {
        auto& last = file.requireRare().lastStream;
        last = std::make_unique<OpenStream>();
        *last = std::move(streamOf(tree, file, held, OpenStream::Access::ReadWrite));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
        // When memory is exhausted, removing the file is more important than reading it afterwards.
    }
    held.closeStreamOf(file);
    file.detached = true;
}

void FileContents::attach(FileInode& file) {
    const auto held = guards_.hold(file);
    file.detached = false;
    if (file.rare) {
        file.rare->lastStream.reset();
    }
}

/// Acquires the file's guard, loads its attributes and opens its stream.
InodeGuards::Held FileContents::access(FileInode& file, OpenStream::Access access) {
    {
        auto held = guards_.hold(file);
        if (file.attributesKnown && held.streamOf(file).serves(access)) {
            return held;
        }
    }
    const SharedTree tree(tree_);
    auto held = guards_.hold(file);
    tree.loadAttributes(file, held);
    streamOf(tree, file, held, access);
    return held;
}

OpenStream& FileContents::streamOf(const LockedTree& tree, FileInode& file, InodeGuards::Held& held,
                                   OpenStream::Access access) {
    OpenStream& stream = held.streamOf(file);
    if (!stream.serves(access)) {
        stream = open(tree, file, access);
    }
    return stream;
}

/// Restores the time after opening for writing: a provider stamps the file then, but programs expect a new
/// time only after a write.
OpenStream FileContents::open(const LockedTree& tree, const FileInode& file, OpenStream::Access access) {
    if (file.detached) {
        throw ErrnoError(EIO);
    }
    const StorageIRI location = tree.locationOf(file);
    if (access == OpenStream::Access::ReadOnly) {
        return {requireNonNull(provider_.doOpenReadOnlyStream(location), "stream"), access, 0};
    }
    const LiftedFlag writable(provider_, tree, file);
    OpenStream opened{
        requireNonNull(provider_.doOpenStream(location, {.existence = ByteStreamExistence::MustExist}),
                       "stream"),
        access, 0};
    provider_.doSetLastModified(location, fromDiskTime(file.attributes.modified));
    return opened;
}

/// Acquires the file's guard and loads its attributes.
InodeGuards::Held FileContents::holdKnown(FileInode& file) {
    {
        auto held = guards_.hold(file);
        if (file.attributesKnown) {
            return held;
        }
    }
    const SharedTree tree(tree_);
    auto held = guards_.hold(file);
    tree.loadAttributes(file, held);
    return held;
}

} // namespace storage::host
