#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>
#include <sys/stat.h>

namespace storage::host {

inline constexpr mode_t permissionBits = 07777; ///< permission bits of a mode
inline constexpr mode_t writeBits = 0222;       ///< of owner, group and others
inline constexpr mode_t setIdBits = 06000;      ///< set-user-ID and set-group-ID

/// An entry on disk in the terms of a storage. A value.
struct DiskEntry {
    using Kind = EntryKind;
    enum class Links { Follow, Inspect };

    Kind kind = Kind::File;
    unsigned long long size = 0; ///< bytes
    boost::posix_time::ptime lastModified;
    bool hasFarTime = false; ///< the time is out of a storage's range, so lastModified is clamped
    bool writable = false;   ///< by its owner
    /// Permission bits. For ordinary users, set-ID bits for another user or group are removed.
    mode_t mode = 0;
    dev_t device = 0; ///< device number of its file system
    ino_t inode = 0;
    nlink_t names = 1; ///< number of hard links
    DiskOwner owner;
    timespec modified{};
    dev_t number = 0;                 ///< device number, if the entry is a device
    unsigned long long allocated = 0; ///< bytes allocated on disk

    /// Whether the file may have holes.
    bool isSparse() const noexcept { return kind == Kind::File && allocated < size; }

    /// @throws CommandError
    static DiskEntry at(const std::string& path, Links links);

    /// Describes an entry of an open folder. Does not follow a symbolic link.
    /// @throws CommandError
    static DiskEntry in(const FileDescriptor& folder, const std::string& name);

    /// @throws CommandError
    static DiskEntry of(const FileDescriptor& file);
};

/// The entry kind of the file type in a mode of stat(2).
EntryKind entryKindOf(mode_t mode);

/// The file type bits of a mode for stat(2).
mode_t fileTypeOf(EntryKind kind);

} // namespace storage::host
