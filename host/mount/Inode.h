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

// A storage does not keep permissions but for the writable flag: those of most entries of a disk.
constexpr mode_t usualFilePermissions = 0644;
constexpr mode_t usualFolderPermissions = 0755;

/// What stat(2) shows of an entry. A value.
struct EntryAttributes {
    mode_t permissions = 0; ///< without the file type; providers keep only the owner's write bit
    std::uint64_t size = 0; ///< bytes; 0 for a folder
    CompactTime modified;   ///< UTC; providers keep whole microseconds
    CompactTime accessed;   ///< kept by the mount only
    CompactTime changed;    ///< kept by the mount only
    CompactTime born;       ///< kept by the mount only

    bool isWritable() const noexcept { return (permissions & 0200U) != 0; }
};

/// An entry of a mounted storage: its own name and place, attributes as programs see them, and the kernel's reference
/// count. The storage has the entry at this place. A hard link is an alias, of which the storage knows nothing; when the own
/// name is removed, the inode takes the place of an alias.
///
/// The provider has files and folders only. Entries of all other kinds exist in the mount, as long as it does.
///
/// Lives as long as its entry exists, so that its number stays the same, and on as long as the kernel refers to it.
/// The place is guarded by the tree's lock and reached only through `LockedTree`, which holds it. The attributes are
/// guarded by the inode's guard (`InodeGuards`); a change of the permissions requires the tree's lock too, shared.
struct Inode : TreeEntry {
    enum class Kind : std::uint8_t { File, Folder, SymbolicLink, Fifo, Socket, CharacterDevice, BlockDevice };

    bool isAlias() const noexcept override { return false; }
    Inode& inode() noexcept override { return *this; }
    const Inode& inode() const noexcept override { return *this; }

    bool isFolder() const noexcept { return kind == Kind::Folder; }
    bool isFile() const noexcept { return kind == Kind::File; }

    /// Whether the provider has entries of this kind.
    bool isStorable() const noexcept { return isFile() || isFolder(); }

    /// The rare attributes, made unless they are there.
    RareAttributes& requireRare() {
        if (rare == nullptr) {
            rare = std::make_unique<RareAttributes>();
        }
        return *rare;
    }

    const Kind kind;
    bool attributesKnown = false;             ///< otherwise the provider has to be asked; guarded like them
    mutable InodeLock lock;                   ///< acquired through `InodeGuards`
    const std::uint64_t number;               ///< shown by stat(2), never reused
    std::atomic<std::uint64_t> references{0}; ///< held by the kernel

    EntryAttributes attributes;
    std::unique_ptr<RareAttributes> rare; ///< null for most inodes; guarded like the attributes

protected:
    Inode(Kind entryKind, CompactName entryName, std::uint64_t entryNumber) noexcept
        : TreeEntry(std::move(entryName)), kind(entryKind), number(entryNumber) {}
};

/// A file of a mounted storage.
///
/// Without a map, the storage holds the bytes of the file in order and may hold more, never fewer:
/// `storedSize >= attributes.size` while the attributes are known. With a map, it holds the pages that exist, see `FileBytes`.
/// What it holds beyond that is slack. All members are guarded like the attributes.
struct FileInode final : Inode {
    FileInode(CompactName entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::File, std::move(entryName), entryNumber) {}

    /// Pages of the file, without holes and slack.
    std::uint64_t pages() const noexcept { return sparse ? sparse->pages() : pagesOf(attributes.size); }

    std::uint64_t storedSize = 0;         ///< bytes that the storage holds
    std::unique_ptr<SparseMap> sparse;    ///< null for a file without holes
    mutable std::uint32_t pagesShown = 0; ///< by the latest stat(2), at most its largest number
    bool detached =
        false; ///< removed from the storage: only `RareAttributes::lastStream` still reaches the bytes
    bool isBeingCopied = false; ///< within the storage; any change of the content or the place clears this
};

} // namespace storage::host
