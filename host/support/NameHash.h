#pragma once

#include <cstdint>
#include <string_view>

namespace storage::host {

/// Hashes a name of any length (FNV-1a). The result is the same in every build of the program.
std::uint64_t nameHash(std::string_view name) noexcept;

} // namespace storage::host
