#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <stdexcept>

namespace storage::benchmark {

/// @throws std::runtime_error when a store returned another value
inline void expectEqual(std::uint64_t actual, std::uint64_t expected, const char* what) {
    if (actual != expected) {
        throw std::runtime_error(fmt::format("{}: {} instead of {}", what, actual, expected));
    }
}

/// @throws std::runtime_error when something does not hold
inline void expectTrue(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(fmt::format("expectation failed: {}", what));
    }
}

} // namespace storage::benchmark
