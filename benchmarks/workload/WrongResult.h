#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <stdexcept>
#include <string>

namespace storage::benchmark {

/// A store returned a wrong result or had a wrong effect.
class WrongResult : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @throws WrongResult
inline void expectEqual(std::uint64_t actual, std::uint64_t expected, const char* what) {
    if (actual != expected) {
        throw WrongResult(fmt::format("{}: {} instead of {}", what, actual, expected));
    }
}

/// @throws WrongResult
inline void expectTrue(bool holds, const std::string& what) {
    if (!holds) {
        throw WrongResult("expectation failed: " + what);
    }
}

} // namespace storage::benchmark
