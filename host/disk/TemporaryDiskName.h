#pragma once

#include <string>
#include <string_view>

namespace storage::host {

/// The temporary name of an incomplete entry, `.qzstorage-HASH-N.part`, derived from the final name in the
/// same folder.
/// @param number  the N, which makes it unique
std::string temporaryDiskName(const std::string& target, unsigned number);

bool isTemporaryDiskName(std::string_view name);

} // namespace storage::host
