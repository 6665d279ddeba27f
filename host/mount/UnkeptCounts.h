#pragma once

#include <cstddef>
#include <string>

namespace storage::host {

/// Counts of entries and attributes that only the mount keeps, so that they are lost when it ends. A value.
struct UnkeptCounts {
    std::size_t links = 0;        ///< symbolic links, and names of files beyond the first
    std::size_t specialFiles = 0; ///< fifos, sockets and devices
    std::size_t modes = 0;        ///< permissions that the writable flag cannot represent
    std::size_t owners = 0;       ///< other than the mount's default
    std::size_t xattrs = 0;       ///< extended attributes

    /// For example "2 links and 14 modes were not kept by the storage"; empty if everything was.
    std::string summary() const;
};

} // namespace storage::host
