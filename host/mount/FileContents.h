#pragma once

#include "host/mount/FileBytes.h"
#include "host/mount/InodeGuards.h"
#include "host/mount/LockedTree.h"
#include "host/mount/StorageSpace.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace storage::host {

/// Reads, writes and resizes files with POSIX semantics, on streams that support neither holes nor
/// truncation. A file may have slack in the storage, see `FileInode`. `FileBytes` implements the single
/// steps. This class acquires the locks, releases them between the steps of long operations, and copies files
/// to free their slack.
///
/// Borrows provider, tree, guards and space. Offsets and sizes are in bytes. Functions without a `LockedTree`
/// acquire the locks themselves. Thread-safe.
class FileContents {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    FileContents(const IProvider& provider, InodeTree& tree, InodeGuards& guards, StorageSpace& space)
        : provider_(provider), tree_(tree), guards_(guards), space_(space) {}

    /// Required by `resize`. The other functions acquire their turn themselves.
    StorageSpace::Turn turn() { return StorageSpace::Turn(space_); }

    /// Reads from `offset` on.
    /// @return number of bytes; fewer than requested only at the end of the file
    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer);

    /// Whether the kernel's cached st_blocks is close enough to the current value. The kernel requests
    /// attributes only after they were invalidated, and before each write to a file with invalid attributes.
    enum class CachedBlocks { Current, Outdated };

    /// Writes all of `bytes` at `offset`.
    /// @throws ErrnoError ENOSPC when there is no space; the content visible to programs is unchanged
    CachedBlocks write(FileInode& file, std::uint64_t offset, std::span<const char> bytes);

    /// Returns the number of pages of the file, and notes that it is reported to the kernel. Precondition:
    /// the file's guard is held.
    static std::uint64_t reportPages(const FileInode& file) noexcept;

    /// Whether the program has cancelled the request. Called between the steps of a long operation.
    using IsInterrupted = std::function<bool()>;

    /// Implements fallocate(2): reserves space, makes a hole or overwrites with zeros. Other requests run
    /// between the steps of a long operation.
    /// @param mode  FALLOC_FL_*
    /// @throws ErrnoError EOPNOTSUPP for an unknown mode; ENOSPC when there is no space, EINTR; the content
    ///     visible to programs is unchanged, except when it was being overwritten with zeros
    void allocate(FileInode& file, int mode, std::uint64_t offset, std::uint64_t length,
                  const IsInterrupted& isInterrupted);

    /// The first byte at or after `offset` that is not in a hole.
    /// @throws ErrnoError ENXIO if there is none
    std::uint64_t seekData(FileInode& file, std::uint64_t offset);

    /// The first byte at or after `offset` that is in a hole, or the size.
    /// @throws ErrnoError ENXIO beyond the end
    std::uint64_t seekHole(FileInode& file, std::uint64_t offset);

    /// Frees most pages beyond `size` if the file has many extents. Releases the locks between the steps, so
    /// that `resize` holds them only briefly.
    void prepareToShrink(FileInode& file, std::uint64_t size);

    /// Sets the size. Precondition: the attributes are known.
    /// @throws ErrnoError ENOSPC when there is no space; the file is unchanged then
    void resize(const LockedTree& tree, FileInode& file, InodeGuards::Held& held, std::uint64_t size);

    /// Frees the file's slack in the storage if there is enough of it.
    void trimSlack(FileInode& file) noexcept;

    /// Makes the stored file equal to what programs see: no holes, no slack, the same time.
    /// @throws ErrnoError ENOSPC if there is no space to fill the holes; the file is unchanged then
    void settle(const ExclusiveTree& tree, FileInode& file);

    /// Keeps the bytes of a file that is about to be removed readable and writable for programs that have it
    /// open.
    void detach(const ExclusiveTree& tree, FileInode& file);

    /// Undoes `detach`, because the file was not removed.
    void attach(FileInode& file);

private:
    enum class Holes { Kept, Filled };

    /// A copy of the bytes that the file uses.
    struct Copy {
        StorageIRI location;
        std::unique_ptr<provider::ByteStream> stream;
        std::unique_ptr<SparseMap> map; ///< null for a copy without holes
        std::uint64_t position = 0;     ///< in the file: end of the copied part
        std::uint64_t size = 0;         ///< bytes copied so far
    };

    InodeGuards::Held access(FileInode& file, OpenStream::Access access);
    OpenStream& streamOf(const LockedTree& tree, FileInode& file, InodeGuards::Held& held,
                         OpenStream::Access access);
    OpenStream open(const LockedTree& tree, const FileInode& file, OpenStream::Access access);
    FileBytes bytesOf(FileInode& file, InodeGuards::Held& held) {
        return {file, held.streamOf(file), space_};
    }
    void reserve(FileInode& file, PageRange pages, const IsInterrupted& isInterrupted);
    void reserveInSteps(FileInode& file, PageRange pages, const IsInterrupted& isInterrupted,
                        std::vector<PageRange>& added);
    void unreserve(FileInode& file, const std::vector<PageRange>& added) noexcept;
    static CachedBlocks cachedBlocksOf(const FileInode& file) noexcept;
    void growTo(FileInode& file, std::uint64_t size);
    void clear(FileInode& file, std::uint64_t offset, std::uint64_t end, const IsInterrupted& isInterrupted);
    void makeHole(FileInode& file, std::uint64_t offset, std::uint64_t end);
    InodeGuards::Held holdKnown(FileInode& file);
    bool hasMuchSlack(const FileInode& file);
    void shorten(const ExclusiveTree& tree, FileInode& file);
    Copy beginCopy(const ExclusiveTree& tree, FileInode& file, Holes holes);
    bool copyBlock(FileInode& file, InodeGuards::Held held, Copy& copy);
    OpenStream replaceByCopy(const ExclusiveTree& tree, FileInode& file, Copy& copy);
    void discardCopy(const ExclusiveTree& tree, FileInode& file, Copy& copy) noexcept;

    const IProvider& provider_;
    InodeTree& tree_;
    InodeGuards& guards_;
    StorageSpace& space_;
};

/// Detaches a file's bytes while its entry is being removed, and attaches them again unless the removal
/// succeeds.
///
/// Borrows the contents. Precondition: the tree's lock is held during the lifetime. Not thread-safe.
class KeptContent {
public:
    /// @param inode  the entry to be removed; ignored unless it is a file
    KeptContent(FileContents& contents, const ExclusiveTree& tree, Inode& inode)
        : contents_(contents), file_(inode.isFile() ? &static_cast<FileInode&>(inode) : nullptr) {
        if (file_ != nullptr) {
            contents_.detach(tree, *file_);
        }
    }
    ~KeptContent() {
        if (file_ != nullptr) {
            contents_.attach(*file_);
        }
    }
    KeptContent(const KeptContent&) = delete;
    KeptContent& operator=(const KeptContent&) = delete;

    /// The entry has been removed.
    void keep() noexcept { file_ = nullptr; }

private:
    FileContents& contents_;
    FileInode* file_; ///< null if there is nothing to attach
};

} // namespace storage::host
