#pragma once

#include "host/disk/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// The mount of one connection to the kernel. Folders above it may be renamed and other mounts made over it, so it is found
/// by its device.
///
/// The kernel gives the device number of a mount that is gone to the next one. So the number counts only while the
/// connection is open: as long as it is, the device is this mount's. Borrows the connection. A value.
class MountPlace {
public:
    /// No mount.
    MountPlace() = default;

    /// @param path        where the mount has just been made
    /// @param connection  the descriptor of /dev/fuse that answers it
    MountPlace(const std::string& path, int connection);

    /// Lets the kernel hold back more dirty pages of this mount than of untrusted mounts by default, so that programs and
    /// write-back work side by side instead of taking turns. Only root may set that; for other users nothing changes.
    void raiseWriteBackLimit() const;

    /// Limits the dirty pages of this mount. Only root may set that, and kernels before 6.2 cannot; then nothing changes.
    /// @param bytes  at most
    void limitDirtyPages(std::uint64_t bytes) const;

    /// Makes the kernel send what programs have written. Somebody must be answering it meanwhile, and may still be when
    /// this returns.
    /// @return whether the mount could be reached: not when it is gone, or something else is mounted over it
    bool writeBack() const;

    /// Unmounts this mount, at once if no program uses it, else lazily. Does nothing when it is gone already, or when
    /// something else is mounted over it.
    void takeAway() const;

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

/// Who has mounted what programs find at a path, if it is a FUSE mount.
/// @param path  as the kernel knows it, without links
std::optional<MountOwner> ownerOfMountAt(const std::string& path);

} // namespace storage::host
