#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// One system call of a user. Calls are self-contained, so any subsequence of a sequence is valid.
/// Descriptors are given as slots of the user; an empty slot results in EBADF. A value.
struct Call {
    static constexpr std::size_t mostNumbers = 6;

    unsigned user = 0;
    std::string kind = {};                           ///< the name of a `CallKind`
    std::array<std::int64_t, mostNumbers> numbers{}; ///< the kind defines their meaning
    std::string first = {};                          ///< usually a path
    std::string second = {};                         ///< the second path, or a value

    bool operator==(const Call&) const = default;
};

using Calls = std::vector<Call>;

/// The call on one line, its texts quoted by inQuotes().
std::string toLine(const Call& call);

/// Parses such a line.
/// @throws std::runtime_error when the line is not a call
Call fromLine(const std::string& line);

/// Quotes text. Quotes, backslashes and bytes outside printable ASCII become \xNN.
std::string inQuotes(std::string_view text);

} // namespace syscalls
