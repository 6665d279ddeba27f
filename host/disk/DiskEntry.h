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
    bool writable = false; ///< by its owner
    mode_t mode = 0;       ///< permission bits

    /// @throws CommandError
    static DiskEntry at(const std::string& path, Links links);

    /// @throws CommandError
    static DiskEntry of(const FileDescriptor& file);

    /// Whether anything stands at `path`; a symbolic link counts, wherever it leads.
    static bool exists(const std::string& path);
};

/// The kind in plain words with its article, for example "a symbolic link".
const char* describe(DiskEntry::Kind kind);

} // namespace storage::host
