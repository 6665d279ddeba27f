#pragma once

#include <sys/stat.h>

namespace storage::host {

inline constexpr mode_t permissionBits = 07777; ///< all of them, in the mode of a file
inline constexpr mode_t writeBits = 0222;       ///< everybody's

} // namespace storage::host
