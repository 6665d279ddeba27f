#pragma once

#include "host/mount/Inode.h"

#include <string>
#include <utility>

namespace storage::host {

/// A symbolic link of a mounted storage. The target never changes.
struct SymbolicLinkInode final : Inode {
    SymbolicLinkInode(CompactName entryName, std::uint64_t entryNumber, std::string linkTarget) noexcept
        : Inode(Kind::SymbolicLink, std::move(entryName), entryNumber), target(std::move(linkTarget)) {}

    const std::string target;
};

/// A fifo, socket or device of a mounted storage. The kernel implements all operations on it.
struct SpecialInode final : Inode {
    SpecialInode(Kind entryKind, CompactName entryName, std::uint64_t entryNumber, dev_t entryDevice) noexcept
        : Inode(entryKind, std::move(entryName), entryNumber), device(entryDevice) {}

    const dev_t device; ///< 0 unless it is a device
};

} // namespace storage::host
