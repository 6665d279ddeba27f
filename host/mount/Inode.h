#pragma once

#include "host/mount/CompactTime.h"
#include "host/mount/InodeLock.h"
#include "host/mount/RareAttributes.h"
#include "host/mount/SparseMap.h"
#include "host/mount/TreeEntry.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <sys/types.h>
#include <utility>

namespace storage::host {

constexpr mode_t anyExecution = 0111; ///< the permission bits that make a file executable

// A storage keeps only the owner's write bit. These are the defaults of the other permissions.
constexpr mode_t usualFilePermissions = 0644;
constexpr mode_t usualFolderPermissions = 0755;

/// The attributes of an entry that stat(2) returns. A value.
struct EntryAttributes {
    mode_t permissions = 0; ///< without the file type; providers keep only the owner's write bit
    std::uint64_t size = 0; ///< bytes; 0 for a folder
    CompactTime modified;   ///< UTC; providers keep whole microseconds
    CompactTime accessed;   ///< kept by the mount only
    CompactTime changed;    ///< kept by the mount only
    CompactTime born;       ///< kept by the mount only

    bool isWritable() const noexcept { return (permissions & 0200U) != 0; }
};

/// An entry of a mounted storage: its own name and place, its attributes as programs see them, and the
/// kernel's reference count. The storage has the entry at this place. Hard links are aliases, which only the
/// mount has. When its own name is removed, the inode moves to the place of an alias.
///
/// The provider has only files and folders. Entries of all other kinds exist only in the mount, until it
/// ends.
///
/// An inode exists as long as its entry exists or the kernel refers to it, so its number does not change. The
/// place is guarded by the tree's lock and is accessible only through `LockedTree`, which holds the lock. The
/// attributes are guarded by the inode's guard (`InodeGuards`). Changing the permissions also requires the
/// tree's lock, shared.
struct Inode : TreeEntry {
    enum class Kind : std::uint8_t { File, Folder, SymbolicLink, Fifo, Socket, CharacterDevice, BlockDevice };

    bool isAlias() const noexcept override { return false; }
    Inode& inode() noexcept override { return *this; }
    const Inode& inode() const noexcept override { return *this; }

    bool isFolder() const noexcept { return kind == Kind::Folder; }
    bool isFile() const noexcept { return kind == Kind::File; }

    /// Whether the provider has entries of this kind.
    bool isStorable() const noexcept { return isFile() || isFolder(); }

    /// Returns the rare attributes. Allocates them if there are none.
    /// @throws std::bad_alloc
    RareAttributes& requireRare() {
        if (rare == nullptr) {
            rare = std::make_unique<RareAttributes>();
        }
        return *rare;
    }

    const Kind kind;
    bool attributesKnown = false;             ///< whether `attributes` are loaded or set; guarded like them
    mutable InodeLock lock;                   ///< acquired through `InodeGuards`
    const std::uint64_t number;               ///< for stat(2), never reused
    std::atomic<std::uint64_t> references{0}; ///< held by the kernel

    EntryAttributes attributes;
    std::unique_ptr<RareAttributes> rare; ///< null for most inodes; guarded like the attributes

protected:
    Inode(Kind entryKind, CompactName entryName, std::uint64_t entryNumber) noexcept
        : TreeEntry(std::move(entryName)), kind(entryKind), number(entryNumber) {}
};

/// A file of a mounted storage.
///
/// Without a map, the storage holds the bytes of the file in order, and possibly more: `storedSize >=
/// attributes.size` while the attributes are known. With a map, it holds the pages that are not holes, see
/// `FileBytes`. All other stored bytes are slack. All members are guarded like the attributes.
struct FileInode final : Inode {
    FileInode(CompactName entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::File, std::move(entryName), entryNumber) {}

    /// Number of pages of the file, without holes and slack.
    std::uint64_t pages() const noexcept { return sparse ? sparse->pages() : pagesOf(attributes.size); }

    std::uint64_t storedSize = 0;            ///< bytes that the storage holds
    std::unique_ptr<SparseMap> sparse;       ///< null for a file without holes
    mutable std::uint32_t reportedPages = 0; ///< returned by the latest stat(2), limited to the largest value

    /// Removed from the storage: the bytes are accessible only through `RareAttributes::lastStream`.
    bool detached = false;
    bool isBeingCopied = false; ///< within the storage; any change of the content or the place clears this
};

} // namespace storage::host
