#pragma once

#include "host/storage/StoragePath.h"

#include <string>
#include <string_view>

namespace storage::host {

/// Converts the name of an entry of the storage to its name on disk.
/// @param path  the entry, for the message
/// @throws CommandError when the disk cannot have an entry of that name
std::string toDiskName(std::u16string_view name, const StoragePath& path);

} // namespace storage::host
