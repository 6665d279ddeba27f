#pragma once

#include <array>
#include <cstdint>
#include <sys/ioctl.h>

namespace storage::host {

/// What the program of a mount says of its end. Part of the protocol between programs of one version. A value.
struct UnmountStatus {
    enum class Stage : std::uint32_t {
        Mounted, ///< nobody has asked for the end yet
        Saving,  ///< the content is being exported
        Failed,  ///< not all of it could be exported: the storage stays mounted
        Saved,   ///< the content is where it is to end up: the mount goes
    };

    std::uint64_t attempt = 0; ///< number of attempts to end the mount so far
    Stage stage = Stage::Mounted;
    std::array<char, 1000> text{}; ///< how far it is, or why it failed; ends in NUL
};

// Requests by ioctl(2) on the root of a mount, so that they reach the program of this very mount and no other. Both return an
// UnmountStatus.
inline constexpr unsigned long startUnmounting = _IOR('q', 1, UnmountStatus);
inline constexpr unsigned long askForUnmounting = _IOR('q', 2, UnmountStatus);

} // namespace storage::host
