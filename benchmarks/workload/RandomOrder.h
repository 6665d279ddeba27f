#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

namespace storage::benchmark {

/// A random number generator with a fixed seed.
inline std::mt19937_64 fixedRandom() {
    return std::mt19937_64(20240229);
}

/// The numbers from 0 to count - 1 in random order.
inline std::vector<std::uint32_t> randomOrder(std::size_t count) {
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    auto random = fixedRandom();
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

} // namespace storage::benchmark
