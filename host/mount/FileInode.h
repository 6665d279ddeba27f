#pragma once

#include "host/mount/Inode.h"
#include "host/mount/OpenStream.h"

namespace storage::host {

/// A file of a mounted storage.
///
/// The storage may hold more bytes than programs see, never fewer: `storedSize >= attributes.size` while the
/// attributes are known. What it has beyond is rest: what a truncation left behind, or zeros that the file is about to
/// grow into. All of this is guarded like the attributes.
struct FileInode final : Inode {
    FileInode(std::u16string entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::File, std::move(entryName), entryNumber) {}

    std::uint64_t storedSize = 0; ///< bytes that the storage holds
    std::uint64_t zerosEnd = 0;   ///< where, if beyond the size, the zeros end that the rest begins with
    bool detached = false;        ///< removed from the storage: `lastStream` is the only way to the bytes
    OpenStream lastStream;
};

} // namespace storage::host
