#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

constexpr std::size_t longestEntryName = 255; ///< bytes, as on every Linux file system

/// The name that a storage keeps for what a program calls `name`.
/// @throws ErrnoError ENAMETOOLONG
std::u16string storageNameOf(std::string_view name);

/// The name by which programs can reach an entry of the storage; nothing for an entry that they cannot name: one
/// with unpaired surrogates that stand for no bytes, with a zero or a slash in it, one called "." or "..", without a name, or too long.
std::optional<std::string> programNameOf(std::u16string_view name);

} // namespace storage::host
