#pragma once

#include <cstdint>
#include <ctime>
#include <sys/types.h>

namespace storage::host {

constexpr mode_t anyExecution = 0111; ///< the permissions with which a file can be run

/// What stat(2) shows of an entry. A value.
struct EntryAttributes {
    mode_t permissions = 0; ///< without the kind; storages keep no more of it than the owner's write bit
    std::uint64_t size = 0; ///< bytes; 0 for a folder
    timespec modified{};    ///< UTC, whole microseconds
    timespec accessed{};    ///< known to the mount alone
    timespec changed{};     ///< known to the mount alone

    bool isWritable() const noexcept { return (permissions & 0200U) != 0; }
};

} // namespace storage::host
