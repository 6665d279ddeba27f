#pragma once

#include "host/storage/StoragePath.h"

#include <string>
#include <string_view>

namespace storage::host {

/// How a result names an entry for a user who named its ancestor by the word `operand`: "./a/f" after ".".
/// @param operand  UTF-8, the way the user spelt `top`
/// @param path     `top` or an entry below it
std::u16string spelledAfter(std::string_view operand, const StoragePath& top, const StoragePath& path);

} // namespace storage::host
