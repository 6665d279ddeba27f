#pragma once

#include "host/mount/ChildTable.h"

namespace storage::host {

/// A folder of a mounted storage. Owns its known children, which the tree's lock guards.
struct FolderInode final : Inode {
    FolderInode(std::u16string entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::Folder, std::move(entryName), entryNumber) {}

    ChildTable children;
    bool childrenComplete = false; ///< what programs could name and is not here does not exist
};

} // namespace storage::host
