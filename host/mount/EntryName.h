#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

constexpr std::size_t longestEntryName = 255; ///< bytes, as on every Linux file system

/// Converts a program's name of an entry to its name in the storage.
/// @throws ErrnoError ENAMETOOLONG
std::u16string storageNameOf(std::string_view name);

/// Converts the name of an entry in the storage to the name for programs. Returns nothing if programs cannot
/// name the entry. Such a name is empty, too long, "." or "..", or it contains a NUL, a slash or an unpaired
/// surrogate that does not represent a byte.
std::optional<std::string> programNameOf(std::u16string_view name);

} // namespace storage::host
