#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// The names in a list as listxattr(2) returns it, each of which ends with a zero.
std::vector<std::string> namesIn(std::string_view list);

/// The same, sorted, as one text.
std::string sortedNames(std::string_view list);

} // namespace syscalls
