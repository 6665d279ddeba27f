#pragma once

#include <cstdint>

namespace syscalls {

/// The users that make the calls: user 0 is root; user 1 is an ordinary user with its own group and a second
/// one.
inline constexpr std::int64_t ordinaryUser = 4001;
inline constexpr std::int64_t ordinaryGroup = 4002;
inline constexpr std::int64_t otherGroup = 4003;  ///< includes the ordinary user
inline constexpr std::int64_t strangeUser = 4004; ///< no user has this number

} // namespace syscalls
