#pragma once

#include <cstdint>
#include <string_view>

namespace storage::inmemoryprovider {

/// A hash of the code units of a path's text, by machine words.
///
/// Differs each time the library is loaded, so that names cannot be chosen to collide.
std::uint64_t hashOf(std::u16string_view path) noexcept;

} // namespace storage::inmemoryprovider
