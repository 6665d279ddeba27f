#pragma once

#include <cstddef>
#include <limits>

// Like the functions of <bit> in C++20. Hosts may include these headers in C++17.
namespace storage::inmemoryprovider {

/// The exponent of the largest power of two that is not greater than `value`.
/// @param value  not 0
inline unsigned floorLog2(std::size_t value) noexcept {
    static_assert(sizeof(std::size_t) == sizeof(unsigned long));
    return static_cast<unsigned>(std::numeric_limits<std::size_t>::digits - 1 - __builtin_clzl(value));
}

/// The largest power of two that is not greater than `value`.
/// @param value  not 0
inline std::size_t floorPowerOfTwo(std::size_t value) noexcept {
    return std::size_t{1} << floorLog2(value);
}

/// The smallest power of two that is not less than `value`.
/// @param value  at most half of the address space
inline std::size_t ceilPowerOfTwo(std::size_t value) noexcept {
    return value <= 1 ? 1 : std::size_t{2} << floorLog2(value - 1);
}

} // namespace storage::inmemoryprovider
