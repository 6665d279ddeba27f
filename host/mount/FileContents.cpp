#include "host/mount/FileContents.h"

#include "host/mount/ErrnoError.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <vector>

namespace storage::host {

using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::ByteStreamExistence;
using foundation::storage::provider::ReplacementPolicy;
using foundation::storage::provider::requireNonNull;

namespace {

constexpr std::size_t copiedAtOnce = 1U << 20U;   ///< bytes filled or copied at a time
constexpr std::uint64_t muchRest = 64U << 10U;    ///< bytes, below which shedding is not worth its while
constexpr const char16_t* unseenName = u"\xD800"; ///< that no program can spell or is shown
constexpr std::uint64_t growthStep = 32U << 20U;  ///< bytes, filled in some milliseconds
constexpr auto largestSize = static_cast<std::uint64_t>(std::numeric_limits<long>::max());

/// Of a stream that failed, which may have come some way.
constexpr std::uint64_t unknownPosition = std::numeric_limits<std::uint64_t>::max();

void stand(OpenStream& open, std::uint64_t offset) {
    if (open.position == offset) {
        return;
    }
    if (open.stream->seek(static_cast<long>(offset), std::ios_base::beg) < 0) {
        throw ErrnoError(EIO);
    }
    open.position = offset;
}

/// Fills the buffer.
void get(OpenStream& open, std::uint64_t offset, std::span<char> buffer) {
    stand(open, offset);
    open.position = unknownPosition;
    readExactly(*open.stream, buffer.data(), buffer.size());
    open.position = offset + buffer.size();
}

/// A storage without memory for a file's bytes is, to a program that writes, a full one.
void put(FileInode& file, OpenStream& open, std::uint64_t offset, std::span<const char> bytes) {
    stand(open, offset);
    open.position = unknownPosition;
    try {
        writeAll(*open.stream, {bytes.data(), bytes.size()});
    } catch (const std::bad_alloc&) {
        throw ErrnoError(ENOSPC);
    }
    open.position = offset + bytes.size();
    file.storedSize = std::max(file.storedSize, open.position);
}

/// Where a file has not been filled with zeros yet.
std::uint64_t unfilledFrom(const FileInode& file) {
    return std::max(file.attributes.size, file.zerosEnd);
}

/// Fills with zeros from the end of the file up to `size`.
void extend(FileInode& file, OpenStream& open, std::uint64_t size) {
    static const std::array<char, copiedAtOnce> zeros{};
    while (unfilledFrom(file) < size) {
        const std::uint64_t begin = unfilledFrom(file);
        const auto count = std::min<std::uint64_t>(zeros.size(), size - begin);
        put(file, open, begin, std::span(zeros).first(count));
        file.zerosEnd = begin + count;
    }
}

/// What is to go behind the end goes first: when there is no room for it, nothing has been overwritten either.
void overwriteAndAppend(FileInode& file, OpenStream& open, std::uint64_t offset,
                        std::span<const char> bytes) {
    const std::uint64_t inside = std::min<std::uint64_t>(file.storedSize - offset, bytes.size());
    if (inside < bytes.size()) {
        put(file, open, offset + inside, bytes.subspan(inside));
    }
    if (inside > 0) {
        put(file, open, offset, bytes.first(inside));
    }
}

} // namespace

std::size_t FileContents::read(FileInode& file, std::uint64_t offset, std::span<char> buffer) {
    auto held = access(file, OpenStream::Access::ReadOnly);
    if (offset >= file.attributes.size) {
        return 0;
    }
    const auto wanted = std::min<std::uint64_t>(buffer.size(), file.attributes.size - offset);
    get(held.streamOf(file), offset, buffer.first(wanted));
    return wanted;
}

/// A gap between the end and the offset is filled first: a stream would put the bytes at the end. What a truncation
/// left there is overwritten on the way.
void FileContents::write(FileInode& file, std::uint64_t offset, std::span<const char> bytes) {
    if (offset > largestSize - bytes.size()) {
        throw ErrnoError(EFBIG);
    }
    growing(file, [&] {
        prepare(file, offset);
        auto held = access(file, OpenStream::Access::ReadWrite);
        OpenStream& open = held.streamOf(file);
        requireRoom(file, offset + bytes.size());
        extend(file, open, offset);
        file.zerosEnd = std::min(file.zerosEnd, offset);
        overwriteAndAppend(file, open, offset, bytes);
        file.attributes.size = std::max(file.attributes.size, offset + bytes.size());
    });
}

void FileContents::reach(FileInode& file, std::uint64_t size) {
    growing(file, [&] {
        prepare(file, size);
        auto held = access(file, OpenStream::Access::ReadWrite);
        requireRoom(file, size);
        extend(file, held.streamOf(file), size);
        file.attributes.size = std::max(file.attributes.size, size);
    });
}

void FileContents::prepareToGrow(FileInode& file, std::uint64_t size) {
    growing(file, [&] { prepare(file, size); });
}

/// Growing that fails gives back what it took.
template <typename Step>
void FileContents::growing(FileInode& file, const Step& step) {
    try {
        step();
    } catch (...) {
        shedRest(file);
        throw;
    }
}

void FileContents::prepare(FileInode& file, std::uint64_t size) {
    while (isFarFrom(file, size)) {
        auto held = access(file, OpenStream::Access::ReadWrite);
        requireRoom(file, size);
        extend(file, held.streamOf(file), std::min(size, unfilledFrom(file) + growthStep));
    }
}

/// Whether growing to `size` takes more than one step, or may: a file that nothing is known of is looked at by the step.
bool FileContents::isFarFrom(const FileInode& file, std::uint64_t size) {
    const auto held = guards_.hold(file);
    return size > growthStep && (!file.attributesKnown || size > unfilledFrom(file) + growthStep);
}

void FileContents::resize(FileInode& file, InodeGuards::Held& held, std::uint64_t size) {
    if (size > file.attributes.size) {
        requireRoom(file, size);
        extend(file, streamOf(file, held, OpenStream::Access::ReadWrite), size);
    } else {
        file.zerosEnd = size;
    }
    file.attributes.size = size;
}

/// A storage can shorten a file only by copying what stays. So the rest is left where it is until it is the larger part:
/// then no byte is copied that was not written before, however often a program truncates.
void FileContents::shedRest(FileInode& file) noexcept {
    try {
        if (hasMuchRest(file)) {
            const std::unique_lock lock(tree_.lock());
            shorten(file);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // It stays until the file is removed, or written over.
    }
}

bool FileContents::hasMuchRest(const FileInode& file) {
    const auto held = guards_.hold(file);
    return !file.detached && file.storedSize - file.attributes.size >= muchRest &&
           file.attributes.size < file.storedSize / 2;
}

void FileContents::settle(FileInode& file) {
    if (!file.attributesKnown || file.detached) {
        return;
    }
    if (file.storedSize > file.attributes.size) {
        shorten(file);
    }
    provider_.doSetLastModified(InodeTree::locationOf(file), fromDiskTime(file.attributes.modified));
}

/// What stays goes to a new file, which then takes the place of the old: a storage may keep the memory of a file that it
/// shortens, and loses bytes when it fails midway.
void FileContents::shorten(FileInode& file) {
    if (file.isRemoved()) {
        return;
    }
    FolderInode& folder = *file.parent;
    tree_.requireAttributes(folder);
    auto held = guards_.hold(file);
    const StorageIRI location = InodeTree::locationOf(file);
    const LiftedFlag folderWritable(provider_, InodeTree::locationOf(folder), folder);
    const LiftedFlag writable(provider_, location, file);
    const StorageIRI shorter = InodeTree::locationOf(folder, unseenName);
    space_.require(file.attributes.size);
    try {
        copyTo(shorter, file, held.streamOf(file));
        held.closeStreamOf(file);
        provider_.doMoveFile(shorter, location, ReplacementPolicy::ReplaceExisting);
    } catch (...) {
        keepOne(location, shorter);
        throw;
    }
    file.storedSize = file.attributes.size;
    file.zerosEnd = 0;
    provider_.doSetLastModified(location, fromDiskTime(file.attributes.modified));
    provider_.doSetLastModified(InodeTree::locationOf(folder), fromDiskTime(folder.attributes.modified));
}

/// A move that fails may have removed what it was to replace; then the copy is all that there is.
void FileContents::keepOne(const StorageIRI& original, const StorageIRI& copy) const noexcept {
    try {
        if (provider_.doFileExists(original)) {
            provider_.doRemoveFile(copy);
        } else {
            provider_.doMoveFile(copy, original, ReplacementPolicy::RefuseExisting);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): the copy may never have been made
    }
}

/// Copies what programs see of the file.
void FileContents::copyTo(const StorageIRI& destination, const FileInode& file, OpenStream& open) {
    if (!open.serves(OpenStream::Access::ReadOnly)) {
        open = this->open(file, OpenStream::Access::ReadOnly);
    }
    const auto copy =
        requireNonNull(provider_.doOpenStream(destination, {.content = ByteStreamContent::Empty}), "stream");
    std::vector<char> block(std::min<std::uint64_t>(file.attributes.size, copiedAtOnce));
    for (std::uint64_t offset = 0; offset < file.attributes.size;) {
        const auto part =
            std::span(block).first(std::min<std::uint64_t>(block.size(), file.attributes.size - offset));
        get(open, offset, part);
        writeAll(*copy, {part.data(), part.size()});
        offset += part.size();
    }
    copy->flush();
}

void FileContents::detach(FileInode& file) {
    auto held = guards_.hold(file);
    OpenStream last;
    try {
        last = std::move(streamOf(file, held, OpenStream::Access::ReadWrite));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
        // Without memory it is more important that something can be removed than that it can still be read.
    }
    held.closeStreamOf(file);
    file.lastStream = std::move(last);
    file.detached = true;
}

void FileContents::attach(FileInode& file) {
    const auto held = guards_.hold(file);
    file.detached = false;
    file.lastStream = OpenStream();
}

/// The file's guard, with its attributes known and its stream open.
InodeGuards::Held FileContents::access(FileInode& file, OpenStream::Access access) {
    {
        auto held = guards_.hold(file);
        if (file.attributesKnown && held.streamOf(file).serves(access)) {
            return held;
        }
    }
    const std::shared_lock lock(tree_.lock());
    auto held = guards_.hold(file);
    tree_.loadAttributes(file);
    streamOf(file, held, access);
    return held;
}

OpenStream& FileContents::streamOf(FileInode& file, InodeGuards::Held& held, OpenStream::Access access) {
    OpenStream& stream = held.streamOf(file);
    if (!stream.serves(access)) {
        stream = open(file, access);
    }
    return stream;
}

/// To a storage, opening for writing is a modification; to programs only writing is.
OpenStream FileContents::open(const FileInode& file, OpenStream::Access access) {
    if (file.detached) {
        throw ErrnoError(EIO);
    }
    const StorageIRI location = InodeTree::locationOf(file);
    if (access == OpenStream::Access::ReadOnly) {
        return {requireNonNull(provider_.doOpenReadOnlyStream(location), "stream"), access, 0};
    }
    const LiftedFlag writable(provider_, location, file);
    OpenStream opened{
        requireNonNull(provider_.doOpenStream(location, {.existence = ByteStreamExistence::MustExist}),
                       "stream"),
        access, 0};
    provider_.doSetLastModified(location, fromDiskTime(file.attributes.modified));
    return opened;
}

void FileContents::requireRoom(const FileInode& file, std::uint64_t size) {
    if (size > file.storedSize) {
        space_.require(size - file.storedSize);
    }
}

} // namespace storage::host
