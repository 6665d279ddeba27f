#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace storage::host {

/// Where a mount can be found as long as it is there: by its device, as folders above it may be renamed and other mounts
/// made over it. A value.
class MountPlace {
public:
    /// No mount.
    MountPlace() = default;

    /// @param path  where the mount has just been made
    explicit MountPlace(const std::string& path);

    /// Lets the kernel hold back more dirty pages of this mount than of untrusted mounts by default, so that programs and
    /// write-back work side by side instead of taking turns. Only root may set that; for other users nothing changes.
    void raiseWriteBackLimit() const;

    /// Makes the kernel send what programs have written. Somebody must be answering it meanwhile, and may still be when
    /// this returns.
    /// @return whether the mount could be reached: not when something else is mounted over it
    bool writeBack() const;

    /// Takes the mount away, at once if nobody uses it, else from the eyes of programs that do not use it yet. Where
    /// something else is mounted over it, it stays.
    void takeAway() const;

private:
    std::optional<std::string> find() const;

    dev_t device_ = 0;
};

} // namespace storage::host
