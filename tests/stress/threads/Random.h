#pragma once

#include <cstddef>
#include <random>

namespace storage::stress {

using Random = std::mt19937_64;

/// A number below `count`, which must not be 0.
inline std::size_t pick(Random& random, std::size_t count) {
    return static_cast<std::size_t>(random() % count);
}

/// True with a probability of 1 in `times`.
inline bool onceIn(std::size_t times, Random& random) {
    return pick(random, times) == 0;
}

} // namespace storage::stress
