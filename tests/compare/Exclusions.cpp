#include "tests/compare/Exclusions.h"

#include <array>

namespace syscalls {

std::span<const Exclusion> standingExclusions() {
    static constexpr std::array exclusions{
        Exclusion{"folder.size", "each file system defines the size of folders"},
        Exclusion{"atime.epoch", "whether a second read changes the time depends on the clock's tick"},
        Exclusion{"fallocate_zero_range", "tmpfs refuses it"},
    };
    return exclusions;
}

Exclusions::Exclusions() {
    for (const Exclusion& exclusion : standingExclusions()) {
        names_.emplace(exclusion.name);
    }
}

} // namespace syscalls
