#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace storage::host {

/// The user and the group of an entry. A value.
struct Owner {
    uid_t user = 0;
    gid_t group = 0;

    static Owner ofProcess() noexcept { return {::geteuid(), ::getegid()}; }

    friend bool operator==(const Owner&, const Owner&) = default;
};

} // namespace storage::host
