#pragma once

#include "host/mount/InodeGuards.h"
#include "host/mount/LockedTree.h"
#include "host/mount/StorageSpace.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace storage::host {

/// Reads, writes and resizes files the way programs expect it, through streams that support neither gaps nor truncation.
/// A file may hold slack in the storage, see `FileInode`.
///
/// Borrows provider, tree, guards and space. Offsets and sizes are in bytes. Functions without a `LockedTree` acquire
/// the locks themselves. Thread-safe.
class FileContents {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    FileContents(const IProvider& provider, InodeTree& tree, InodeGuards& guards, StorageSpace& space)
        : provider_(provider), tree_(tree), guards_(guards), space_(space) {}

    /// To be held by `prepareToGrow` and `resize`; the other functions take their turn themselves.
    StorageSpace::Turn turn() { return StorageSpace::Turn(space_); }

    /// Reads from `offset` on.
    /// @return number of bytes; fewer than requested only at the end of the file
    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer);

    /// Writes all of `bytes` at `offset`.
    /// @throws ErrnoError ENOSPC when there is no room, with the file as programs see it unchanged
    void write(FileInode& file, std::uint64_t offset, std::span<const char> bytes);

    /// Whether the program has given up a request. Asked between the steps of a long one.
    using IsInterrupted = std::function<bool()>;

    /// Makes the file at least `size` bytes long.
    /// @throws ErrnoError ENOSPC when there is no room, EINTR; with the file as programs see it unchanged
    void ensureSize(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted);

    /// Fills most of the slack that growing to `size` requires, in steps between which the locks are released, so that
    /// `resize` does not hold them for long.
    /// @throws ErrnoError ENOSPC when there is no room, EINTR; with the file as programs see it unchanged
    void prepareToGrow(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted);

    /// Sets the size; new bytes are zeros. The attributes must be known.
    /// @throws ErrnoError ENOSPC when there is no room, with the file unchanged
    void resize(const LockedTree& tree, FileInode& file, InodeGuards::Held& held, std::uint64_t size);

    /// Frees the file's slack in the storage if there is much of it.
    void trimSlack(FileInode& file) noexcept;

    /// Makes the storage hold what programs see: no slack, and the same time.
    void settle(const ExclusiveTree& tree, FileInode& file);

    /// Keeps the bytes of a file that is about to be removed readable and writable for programs that have it open.
    void detach(const ExclusiveTree& tree, FileInode& file);

    /// Undoes `detach`: the file was not removed.
    void attach(FileInode& file);

private:
    /// A copy of the bytes that stay when a file is shortened.
    struct ShorterCopy {
        StorageIRI location;
        std::unique_ptr<foundation::storage::provider::ByteStream> stream;
        std::uint64_t size; ///< bytes copied so far
    };

    InodeGuards::Held access(FileInode& file, OpenStream::Access access);
    OpenStream& streamOf(const LockedTree& tree, FileInode& file, InodeGuards::Held& held,
                         OpenStream::Access access);
    OpenStream open(const LockedTree& tree, const FileInode& file, OpenStream::Access access);
    template <typename Step>
    void growing(FileInode& file, const Step& step);
    void prepare(FileInode& file, std::uint64_t size, const IsInterrupted& isInterrupted);
    bool hasMuchSlack(const FileInode& file);
    void shorten(const ExclusiveTree& tree, FileInode& file);
    ShorterCopy beginCopy(const ExclusiveTree& tree, FileInode& file);
    static bool copyBlock(FileInode& file, InodeGuards::Held held, ShorterCopy& copy);
    OpenStream replaceByCopy(const ExclusiveTree& tree, FileInode& file, ShorterCopy& copy);
    void discardCopy(const ExclusiveTree& tree, FileInode& file, ShorterCopy& copy) noexcept;
    bool isFarFrom(const FileInode& file, std::uint64_t size);
    void requireRoom(const FileInode& file, std::uint64_t size);

    const IProvider& provider_;
    InodeTree& tree_;
    InodeGuards& guards_;
    StorageSpace& space_;
};

/// Detaches a file's bytes while its entry is being removed, and attaches them again unless the removal succeeds.
///
/// Borrows the contents; the tree's lock must be held as long as the object lives. Not thread-safe.
class KeptContent {
public:
    /// @param inode  the entry to be removed; nothing is done unless it is a file
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
