#pragma once

#include <cstdint>
#include <string_view>

namespace storage::inmemoryprovider {

/// A hash of the code units of a path's text, by machine words.
///
/// Depends on the load address of the library, so with ASLR names cannot be chosen to collide.
std::uint64_t hashOf(std::u16string_view path) noexcept;

} // namespace storage::inmemoryprovider
