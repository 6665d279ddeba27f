#pragma once

#include "host/storage/StoragePath.h"

#include <string>
#include <string_view>

namespace storage::host {

/// The path of an entry as results show it: relative to the operand that the user gave, for example "./a/f" after ".".
/// @param operand  UTF-8, names `top`
/// @param path     `top` or an entry below it
std::u16string displayPath(std::string_view operand, const StoragePath& top, const StoragePath& path);

} // namespace storage::host
