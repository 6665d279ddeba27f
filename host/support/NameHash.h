#pragma once

#include <cstdint>
#include <string_view>

namespace storage::host {

/// A number of fixed length for a name of any length, the same in every build of the program (FNV-1a).
std::uint64_t nameHash(std::string_view name) noexcept;

} // namespace storage::host
