#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// The plug-in that a user named, by the program's option or as a command's operand; nothing when by neither.
/// @throws UsageError when by both
std::optional<std::string> namedPlugin(const std::optional<std::string>& option,
                                       const std::optional<std::string>& operand);

} // namespace storage::host
