#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// The type of an entry on disk. Storages have only files and folders.
enum class EntryKind { File, Folder, SymbolicLink, Socket, Fifo, CharacterDevice, BlockDevice };

/// The type in words with its article, for example "a symbolic link".
const char* describe(EntryKind kind);

constexpr bool isDevice(EntryKind kind) {
    return kind == EntryKind::CharacterDevice || kind == EntryKind::BlockDevice;
}

/// Owner and group on disk. A value.
struct DiskOwner {
    uid_t user = 0;
    gid_t group = 0;

    bool operator==(const DiskOwner&) const = default;
};

using Xattrs = std::map<std::string, std::string>; ///< extended attributes by name

/// The attributes of an entry on disk, as far as they are known. A value.
struct DiskAttributes {
    EntryKind kind = EntryKind::File;
    std::optional<mode_t> mode; ///< permission bits, all twelve
    std::optional<DiskOwner> owner;
    std::optional<timespec> modified;
    Xattrs xattrs;
    bool isSparse = false;       ///< the file has holes
    std::string linkTarget;      ///< of a symbolic link
    dev_t device = 0;            ///< device number of a device
    std::uint64_t linkGroup = 0; ///< hard links of one file have the same number; 0 for a file with one name
};

} // namespace storage::host
