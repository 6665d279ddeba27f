#pragma once

#include "host/disk/FileDescriptor.h"
#include "host/support/DiskAttributes.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>
#include <sys/stat.h>

namespace storage::host {

inline constexpr mode_t permissionBits = 07777; ///< in the mode of a file
inline constexpr mode_t writeBits = 0222;       ///< of owner, group and others
inline constexpr mode_t setIdBits = 06000;      ///< of user and group

/// What the disk tells of one of its entries, in the terms of a storage. A value.
struct DiskEntry {
    using Kind = EntryKind;
    enum class Links { Follow, Inspect };

    Kind kind = Kind::File;
    unsigned long long size = 0; ///< bytes
    boost::posix_time::ptime lastModified;
    bool hasFarTime =
        false; ///< the disk's time is not one that a storage can keep; lastModified is the nearest
    bool writable = false; ///< by its owner
    /// Permission bits. Unless the process is the superuser's, without set-user-ID and set-group-ID of another user or group.
    mode_t mode = 0;
    dev_t device = 0; ///< the file system that it is on
    ino_t inode = 0;
    nlink_t names = 1; ///< hard links
    DiskOwner owner;
    timespec modified{};
    dev_t number = 0;                 ///< of a device
    unsigned long long allocated = 0; ///< bytes that the file takes on the disk

    /// Whether the file may have holes.
    bool isSparse() const noexcept { return kind == Kind::File && allocated < size; }

    /// @throws CommandError
    static DiskEntry at(const std::string& path, Links links);

    /// An entry of an open folder. A symbolic link is not followed.
    /// @throws CommandError
    static DiskEntry in(const FileDescriptor& folder, const std::string& name);

    /// @throws CommandError
    static DiskEntry of(const FileDescriptor& file);
};

/// What the file type in a mode of stat(2) says.
EntryKind entryKindOf(mode_t mode);

/// The file type of a mode, without permissions.
mode_t fileTypeOf(EntryKind kind);

} // namespace storage::host
