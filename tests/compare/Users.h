#pragma once

#include <cstdint>

namespace syscalls {

/// Who makes the calls: 0 is the superuser, 1 an ordinary user with a group of its own and a second one.
inline constexpr std::int64_t ordinaryUser = 4001;
inline constexpr std::int64_t ordinaryGroup = 4002;
inline constexpr std::int64_t otherGroup = 4003;  ///< the ordinary user is in it
inline constexpr std::int64_t strangeUser = 4004; ///< nobody has this number

} // namespace syscalls
