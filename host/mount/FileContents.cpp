#include "host/mount/FileContents.h"

#include "host/mount/AccessTime.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <vector>

namespace storage::host {

using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::ByteStreamExistence;
using foundation::storage::provider::ReplacementPolicy;
using foundation::storage::provider::requireNonNull;

namespace {

constexpr std::size_t copiedAtOnce = 1U << 20U;  ///< bytes filled or copied at a time
constexpr std::uint64_t muchSlack = 64U << 10U;  ///< bytes, below which trimming does not pay
const std::u16string unseenName = u"\xD800";     ///< not valid UTF-16, so no program can use or see it
constexpr std::uint64_t growthStep = 32U << 20U; ///< bytes, filled within milliseconds

/// Bytes that a provider holds twice when it copies a file that grows to a larger block, at the most.
constexpr std::uint64_t copiedByProvider = 2U << 20U;

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

/// Of a stream that failed.
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

/// A provider that has no memory for a file's bytes is a full file system to the program that writes.
void put(FileInode& file, OpenStream& open, std::uint64_t offset, std::span<const char> bytes) {
    file.isBeingCopied = false;
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

/// The end of the bytes and of the zeros that follow them.
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

/// Appends first: if there is no room for that, nothing has been overwritten.
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
    noteAccess(file);
    return wanted;
}

/// Fills a gap between the end and the offset first: a stream would append the bytes. That also overwrites the slack of
/// a truncation.
void FileContents::write(FileInode& file, std::uint64_t offset, std::span<const char> bytes) {
    if (offset > largestSize - bytes.size()) {
        throw ErrnoError(EFBIG);
    }
    const StorageSpace::Turn turn(space_);
    growing(file, [&] {
        prepare(file, offset, [] { return false; });
        auto held = access(file, OpenStream::Access::ReadWrite);
        OpenStream& open = held.streamOf(file);
        requireRoom(file, offset + bytes.size());
        extend(file, open, offset);
        file.zerosEnd = std::min(file.zerosEnd, offset);
        overwriteAndAppend(file, open, offset, bytes);
        file.attributes.size = std::max(file.attributes.size, offset + bytes.size());
    });
}

void FileContents::ensureSize(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted) {
    const StorageSpace::Turn turn(space_);
    growing(file, [&] {
        prepare(file, size, isInterrupted);
        auto held = access(file, OpenStream::Access::ReadWrite);
        requireRoom(file, size);
        extend(file, held.streamOf(file), size);
        file.attributes.size = std::max(file.attributes.size, size);
    });
}

void FileContents::prepareToGrow(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted) {
    growing(file, [&] { prepare(file, size, isInterrupted); });
}

/// Frees the slack again if growing fails.
template <typename Step>
void FileContents::growing(FileInode& file, const Step& step) {
    try {
        step();
    } catch (...) {
        trimSlack(file);
        throw;
    }
}

void FileContents::prepare(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted) {
    while (isFarFrom(file, size)) {
        if (isInterrupted()) {
            throw ErrnoError(EINTR);
        }
        auto held = access(file, OpenStream::Access::ReadWrite);
        requireRoom(file, size);
        extend(file, held.streamOf(file), std::min(size, unfilledFrom(file) + growthStep));
    }
}

/// Whether growing to `size` takes, or may take, more than one step. The step loads attributes that are not known.
bool FileContents::isFarFrom(const FileInode& file, std::uint64_t size) {
    const auto held = guards_.hold(file);
    return size > growthStep && (!file.attributesKnown || size > unfilledFrom(file) + growthStep);
}

void FileContents::resize(const LockedTree& tree, FileInode& file, InodeGuards::Held& held,
                          std::uint64_t size) {
    if (size > file.attributes.size) {
        requireRoom(file, size);
        extend(file, streamOf(tree, file, held, OpenStream::Access::ReadWrite), size);
    } else {
        file.zerosEnd = size;
    }
    file.isBeingCopied = false;
    file.attributes.size = size;
}

/// A file can be shortened only by copying the bytes that stay. Trimming only when the slack is the larger part makes
/// truncation amortized O(1) per byte written.
///
/// Other requests go on between the blocks. One that changes this file or moves it ends the copying.
void FileContents::trimSlack(FileInode& file) noexcept {
    OpenStream old; // destroyed after all locks are released: it may have many bytes
    try {
        if (!hasMuchSlack(file)) {
            return;
        }
        auto copy = beginCopy(ExclusiveTree(tree_), file);
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
    return !file.detached && !file.isBeingCopied && file.storedSize - file.attributes.size >= muchSlack &&
           file.attributes.size < file.storedSize / 2;
}

void FileContents::settle(const ExclusiveTree& tree, FileInode& file) {
    if (!file.attributesKnown || file.detached) {
        return;
    }
    if (file.storedSize > file.attributes.size) {
        shorten(tree, file);
    }
    provider_.doSetLastModified(tree.locationOf(file), fromDiskTime(file.attributes.modified));
}

/// Copies the bytes that stay to a new file, which then replaces the old one: a provider may keep the memory of a file
/// that it truncates, and would lose bytes if it failed midway.
void FileContents::shorten(const ExclusiveTree& tree, FileInode& file) {
    if (tree.isRemoved(file)) {
        return;
    }
    auto copy = beginCopy(tree, file);
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

/// The copy is in the root, which nobody can remove or rename.
FileContents::ShorterCopy FileContents::beginCopy(const ExclusiveTree& tree, FileInode& file) {
    FolderInode& root = tree_.root();
    tree.loadAttributes(root);
    const LiftedFlag writable(provider_, tree, root);
    space_.require(file.attributes.size);
    ShorterCopy copy{tree.locationOf(root, unseenName + numberText(file.number)), nullptr, 0};
    copy.stream = requireNonNull(provider_.doOpenStream(copy.location, {.content = ByteStreamContent::Empty}),
                                 "stream");
    provider_.doSetLastModified(tree.locationOf(root), fromDiskTime(root.attributes.modified));
    const auto held = guards_.hold(file);
    file.isBeingCopied = true;
    return copy;
}

/// @param held  with the file's stream open
/// @return whether there is more to copy
bool FileContents::copyBlock(FileInode& file, InodeGuards::Held held, ShorterCopy& copy) {
    requireUnchanged(file);
    const auto left = file.attributes.size - copy.size;
    std::vector<char> block(std::min<std::uint64_t>(left, copiedAtOnce));
    get(held.streamOf(file), copy.size, block);
    writeAll(*copy.stream, {block.data(), block.size()});
    copy.size += block.size();
    return copy.size < file.attributes.size;
}

/// @return the stream of the old bytes, which frees them
OpenStream FileContents::replaceByCopy(const ExclusiveTree& tree, FileInode& file, ShorterCopy& copy) {
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
    file.storedSize = file.attributes.size;
    file.zerosEnd = 0;
    file.isBeingCopied = false;
    provider_.doSetLastModified(location, fromDiskTime(file.attributes.modified));
    provider_.doSetLastModified(tree.locationOf(folder), fromDiskTime(folder.attributes.modified));
    provider_.doSetLastModified(tree.locationOf(root), fromDiskTime(root.attributes.modified));
    return old;
}

/// A move that fails may have removed its target; then only the copy is left.
void FileContents::discardCopy(const ExclusiveTree& tree, FileInode& file, ShorterCopy& copy) noexcept {
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
    OpenStream last;
    try {
        last = std::move(streamOf(tree, file, held, OpenStream::Access::ReadWrite));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
        // Out of memory, removing the file is more important than reading it afterwards.
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

/// Acquires the file's guard, with its attributes known and its stream open.
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

/// A provider stamps a file when it is opened for writing; programs expect that of a write only.
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

void FileContents::requireRoom(const FileInode& file, std::uint64_t size) {
    if (size > file.storedSize) {
        space_.require(size - file.storedSize, std::min(file.storedSize, copiedByProvider));
    }
}

} // namespace storage::host
