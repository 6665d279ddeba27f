#pragma once

#include "host/disk/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// The mount of one connection to the kernel. Its parent folders may be renamed and other mounts may cover
/// it, so it is identified by its device number.
///
/// The kernel reuses the device number of a former mount. So the number is valid only while the connection is
/// open. Borrows the connection. A value.
class MountPlace {
public:
    /// No mount.
    MountPlace() = default;

    /// @param path        path of the new mount
    /// @param connection  the descriptor of /dev/fuse that serves it
    MountPlace(const std::string& path, int connection);

    /// Raises the kernel's limit of dirty pages for this mount above the default of untrusted mounts, so that
    /// programs and write-back run concurrently. Has no effect without root.
    void raiseWriteBackLimit() const;

    /// Limits the dirty pages of this mount. Has no effect without root and before Linux 6.2.
    /// @param bytes  upper limit
    void limitDirtyPages(std::uint64_t bytes) const;

    /// Makes the kernel write back the data that programs have written. Precondition: other threads process
    /// its requests meanwhile. Some requests may still be unprocessed on return.
    /// @return whether the mount could be reached: false if it no longer exists or another mount covers it
    bool writeBack() const;

    /// Unmounts, lazily if a program uses the mount. Does nothing if the mount no longer exists or another
    /// mount covers it.
    void unmount() const;

private:
    void setWriteBack(const char* setting, std::uint64_t value) const;
    std::optional<FileDescriptor> open() const;

    dev_t device_ = 0;
    int connection_ = -1;
};

/// A user and a group. A value.
struct MountOwner {
    uid_t user;
    gid_t group;
};

/// The user who mounted the file system at a path, if it is a FUSE mount.
/// @param path  absolute, without symbolic links
std::optional<MountOwner> ownerOfMountAt(const std::string& path);

} // namespace storage::host
