#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// What an entry of a disk is. Storages have files and folders only.
enum class EntryKind { File, Folder, SymbolicLink, Socket, Fifo, CharacterDevice, BlockDevice };

/// The kind in plain words with its article, for example "a symbolic link".
const char* describe(EntryKind kind);

constexpr bool isDevice(EntryKind kind) {
    return kind == EntryKind::CharacterDevice || kind == EntryKind::BlockDevice;
}

/// A user and a group of the disk. A value.
struct DiskOwner {
    uid_t user = 0;
    gid_t group = 0;

    bool operator==(const DiskOwner&) const = default;
};

using Xattrs = std::map<std::string, std::string>; ///< extended attributes of the disk, by name

/// What a disk keeps of an entry besides its name and its bytes, as far as it is known. A value.
struct DiskAttributes {
    EntryKind kind = EntryKind::File;
    std::optional<mode_t> mode; ///< permission bits, all twelve
    std::optional<DiskOwner> owner;
    std::optional<timespec> modified;
    Xattrs xattrs;
    bool isSparse = false;  ///< of a file: it has holes
    std::string linkTarget; ///< of a symbolic link
    dev_t device = 0;       ///< number of a device
    std::uint64_t linkGroup =
        0; ///< of a file: names with the same number are names of one file; 0 for the only name
};

} // namespace storage::host
