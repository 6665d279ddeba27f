#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// One system call as a user of a file system makes it: complete in itself, so that a sequence with calls left out is a
/// sequence too. Descriptors are slots of the user's process; an empty slot gives EBADF. A value.
struct Call {
    static constexpr std::size_t mostNumbers = 6;

    unsigned user = 0;
    std::string kind = {};                           ///< a name in the table of kinds
    std::array<std::int64_t, mostNumbers> numbers{}; ///< the kind says what they mean
    std::string first = {};                          ///< a path, mostly
    std::string second = {};                         ///< the second path, or a value

    bool operator==(const Call&) const = default;
};

using Calls = std::vector<Call>;

/// The call on one line, with bytes outside of printable ASCII as \xNN.
std::string toLine(const Call& call);

/// The call of such a line.
/// @throws std::runtime_error when it is none
Call fromLine(const std::string& line);

/// Text in quotes, with bytes outside of printable ASCII as \xNN.
std::string inQuotes(std::string_view text);

} // namespace syscalls
