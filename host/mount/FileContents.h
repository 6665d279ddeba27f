#pragma once

#include "host/mount/InodeGuards.h"
#include "host/mount/InodeTree.h"
#include "host/mount/StorageSpace.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace storage::host {

/// Reads, writes and resizes files the way programs expect it, over streams that know nothing of gaps and of sizes.
///
/// Borrows provider, tree, guards and space. Offsets and sizes are in bytes.
/// Thread safety: any number of threads.
class FileContents {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    FileContents(const IProvider& provider, InodeTree& tree, InodeGuards& guards, StorageSpace& space)
        : provider_(provider), tree_(tree), guards_(guards), space_(space) {}

    /// Reads what there is from `offset` on. Needs no lock.
    /// @return number of bytes; fewer than asked for only at the end of the file
    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer);

    /// Writes all of `bytes` at `offset`. Needs no lock.
    /// @throws ErrnoError ENOSPC when there is no room, with the file as programs see it unchanged
    void write(FileInode& file, std::uint64_t offset, std::span<const char> bytes);

    /// Makes the file at least `size` bytes long. Needs no lock.
    /// @throws ErrnoError ENOSPC when there is no room, with the file as programs see it unchanged
    void reach(FileInode& file, std::uint64_t size);

    /// Gets ready for a file that is to grow to `size`, in steps between which others come in. What is left to be done
    /// does not take long. Needs no lock.
    /// @throws ErrnoError ENOSPC when there is no room, with the file as programs see it unchanged
    void prepareToGrow(FileInode& file, std::uint64_t size);

    /// Gives the file `size` bytes; what is new is zeros. Needs the tree's lock, shared, and the file's guard; its
    /// attributes must be known.
    /// @throws ErrnoError ENOSPC when there is no room, with the file unchanged
    void resize(FileInode& file, InodeGuards::Held& held, std::uint64_t size);

    /// Lets go of what the storage holds of a file beyond what programs see, when that is much. Needs no lock.
    void shedRest(FileInode& file) noexcept;

    /// Makes the storage hold what programs see, and no more, at the time that they see. Needs the tree's lock, alone.
    void settle(FileInode& file);

    /// Keeps the bytes of a file that is about to be removed within reach of the programs that have it open. Needs
    /// the tree's lock, alone.
    void detach(FileInode& file);

    /// Takes `detach` back: the file was not removed.
    void attach(FileInode& file);

private:
    InodeGuards::Held access(FileInode& file, OpenStream::Access access);
    OpenStream& streamOf(FileInode& file, InodeGuards::Held& held, OpenStream::Access access);
    OpenStream open(const FileInode& file, OpenStream::Access access);
    template <typename Step>
    void growing(FileInode& file, const Step& step);
    void prepare(FileInode& file, std::uint64_t size);
    bool hasMuchRest(const FileInode& file);
    void shorten(FileInode& file);
    void keepOne(const StorageIRI& original, const StorageIRI& copy) const noexcept;
    void copyTo(const StorageIRI& destination, const FileInode& file, OpenStream& open);
    bool isFarFrom(const FileInode& file, std::uint64_t size);
    void requireRoom(const FileInode& file, std::uint64_t size);

    const IProvider& provider_;
    InodeTree& tree_;
    InodeGuards& guards_;
    StorageSpace& space_;
};

/// Detaches a file's bytes while its entry is being removed, and attaches them again unless that succeeds.
///
/// Borrows the contents. Needs the tree's lock, alone, as long as it lives. Thread safety: for one thread.
class KeptContent {
public:
    /// @param inode  the entry to be removed; a folder has no bytes
    KeptContent(FileContents& contents, Inode& inode)
        : contents_(contents), file_(inode.isFolder() ? nullptr : &static_cast<FileInode&>(inode)) {
        if (file_ != nullptr) {
            contents_.detach(*file_);
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
    FileInode* file_;
};

} // namespace storage::host
