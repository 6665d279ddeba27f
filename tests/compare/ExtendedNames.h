#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// Splits a list of listxattr(2), in which NUL terminates each name.
std::vector<std::string> namesIn(std::string_view list);

/// The same names, sorted, as one text.
std::string sortedNames(std::string_view list);

} // namespace syscalls
