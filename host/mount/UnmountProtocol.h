#pragma once

#include <array>
#include <cstdint>
#include <sys/ioctl.h>

namespace storage::host {

/// The state of the end of a mount. Part of the protocol between programs of the same version. A value.
struct UnmountStatus {
    enum class Stage : std::uint32_t {
        Mounted, ///< no end was requested yet
        Saving,  ///< the content is being exported
        Failed,  ///< not all of it could be exported: the storage stays mounted
        Saved,   ///< the content is saved: the unmount follows
    };

    std::uint64_t attempt = 0; ///< number of attempts to end the mount so far
    Stage stage = Stage::Mounted;
    std::array<char, 1000>
        text{}; ///< the progress, the reason of a failure, or what was lost; NUL-terminated
};

// Requests by ioctl(2) on the root of a mount, so that they reach the program of this mount and no other.
// Both return an UnmountStatus.
inline constexpr unsigned long startUnmounting = _IOR('q', 1, UnmountStatus);
inline constexpr unsigned long queryUnmounting = _IOR('q', 2, UnmountStatus);

} // namespace storage::host
