#pragma once

#include <cstdint>

namespace storage::stress {

constexpr std::int64_t mebibyte = std::int64_t{1} << 20; ///< bytes

} // namespace storage::stress
