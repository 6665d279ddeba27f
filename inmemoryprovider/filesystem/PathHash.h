#pragma once

#include <cstdint>
#include <string_view>

namespace storage::inmemoryprovider {

/// A hash of the code units of a path's text, by machine words.
///
/// It differs from one loading of the library to the next, so that nobody can prepare names that collide.
std::uint64_t hashOf(std::u16string_view path) noexcept;

} // namespace storage::inmemoryprovider
