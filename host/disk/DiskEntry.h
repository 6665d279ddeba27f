#pragma once

#include "host/disk/FileDescriptor.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <string>
#include <sys/stat.h>

namespace storage::host {

inline constexpr mode_t permissionBits = 07777; ///< in the mode of a file
inline constexpr mode_t writeBits = 0222;       ///< of owner, group and others

/// What the disk tells of one of its entries, in the terms of a storage. A value.
struct DiskEntry {
    enum class Kind { File, Folder, SymbolicLink, Socket, Fifo, Device };
    enum class Links { Follow, Inspect };

    Kind kind = Kind::File;
    unsigned long long size = 0; ///< bytes
    boost::posix_time::ptime lastModified;
    bool hasFarTime =
        false; ///< the disk's time is not one that a storage can keep; lastModified is the nearest
    bool writable = false; ///< by its owner
    mode_t mode =
        0; ///< permission bits; without set-user-ID and set-group-ID if they are another user's or group's
    dev_t device = 0; ///< the file system that it is on

    /// @throws CommandError
    static DiskEntry at(const std::string& path, Links links);

    /// An entry of an open folder. A symbolic link is not followed.
    /// @throws CommandError
    static DiskEntry in(const FileDescriptor& folder, const std::string& name);

    /// @throws CommandError
    static DiskEntry of(const FileDescriptor& file);
};

/// The kind in plain words with its article, for example "a symbolic link".
const char* describe(DiskEntry::Kind kind);

} // namespace storage::host
