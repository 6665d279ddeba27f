#pragma once

#include "host/mount/Inode.h"
#include "host/mount/OpenStream.h"

namespace storage::host {

/// A file of a mounted storage.
///
/// The storage may hold more bytes than programs see, never fewer: `storedSize >= attributes.size` while the
/// attributes are known. What it has beyond is rest that a truncation left behind. Both are guarded like the
/// attributes.
struct FileInode final : Inode {
    FileInode(std::u16string entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::File, std::move(entryName), entryNumber) {}

    std::uint64_t storedSize = 0; ///< bytes that the storage holds
    bool detached = false;        ///< removed from the storage: `lastStream` is the only way to the bytes
    OpenStream lastStream;
};

} // namespace storage::host
