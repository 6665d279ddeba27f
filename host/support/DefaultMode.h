#pragma once

#include "host/support/DiskAttributes.h"

#include <sys/types.h>

namespace storage::host {

/// The permission bits of a new entry without a known mode.
constexpr mode_t defaultMode(EntryKind kind, mode_t umask) noexcept {
    constexpr mode_t file = 0666;
    constexpr mode_t folder = 0777;
    return (kind == EntryKind::Folder ? folder : file) & ~umask;
}

} // namespace storage::host
