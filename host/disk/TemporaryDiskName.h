#pragma once

#include <string>
#include <string_view>

namespace storage::host {

/// The name of an entry that is not complete, `.qzstorage-HASH-N.part`: it follows from the final name in the same folder.
/// @param number  makes it unique
std::string temporaryDiskName(const std::string& target, unsigned number);

bool isTemporaryDiskName(std::string_view name);

} // namespace storage::host
