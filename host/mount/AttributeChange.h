#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <sys/types.h>

namespace storage::host {

/// What a program wants to be different about an entry. A value.
struct AttributeChange {
    std::optional<mode_t> permissions;
    std::optional<std::uint64_t> size; ///< bytes
    std::optional<timespec> modified;  ///< UTC
    std::optional<timespec> accessed;
    std::optional<timespec> changed;
    std::optional<uid_t> owner;
    std::optional<gid_t> group;
};

} // namespace storage::host
