#pragma once

#include "host/mount/EntryAttributes.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace storage::host {

struct FolderInode;

/// An entry of a mounted storage: name and place as the storage has them, attributes as programs see them, and how
/// many references the kernel holds.
///
/// Lives as long as its entry exists, so that its number stays the same, and on as long as the kernel refers to it.
/// Name, place and position are guarded by the tree's lock. The attributes are guarded by the inode's guard
/// (`InodeGuards`); whoever changes the permissions holds the tree's lock too, shared.
struct Inode {
    enum class Kind { File, Folder };

    Inode(const Inode&) = delete;
    Inode& operator=(const Inode&) = delete;
    virtual ~Inode() = default;

    bool isFolder() const noexcept { return kind == Kind::Folder; }
    bool isRemoved() const noexcept { return parent == nullptr && !name.empty(); }

    const Kind kind;
    const std::uint64_t number;               ///< shown by stat(2), never used twice
    std::u16string name;                      ///< empty for the root
    FolderInode* parent = nullptr;            ///< none for the root and for what has been removed
    std::uint64_t position = 0;               ///< in the listing of the parent
    std::atomic<std::uint64_t> references{0}; ///< the kernel's

    EntryAttributes attributes;
    bool attributesKnown = false; ///< otherwise they are still to be asked of the storage

protected:
    Inode(Kind entryKind, std::u16string entryName, std::uint64_t entryNumber) noexcept
        : kind(entryKind), number(entryNumber), name(std::move(entryName)) {}
};

} // namespace storage::host
