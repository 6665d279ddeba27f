#pragma once

#include "host/storage/StoragePath.h"

#include <string>
#include <string_view>

namespace storage::host {

/// Formats the path of an entry for results, relative to the user's operand. For example, "./a/f" for ".".
/// @param operand  UTF-8, the user's name of `top`
/// @param path     `top` or an entry below it
std::u16string displayPath(std::string_view operand, const StoragePath& top, const StoragePath& path);

} // namespace storage::host
