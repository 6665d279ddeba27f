#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// The plug-in that the user named by the program's option or by the command's operand; nothing if neither is
/// present.
/// @throws UsageError when both are present
std::optional<std::string> namedPlugin(const std::optional<std::string>& option,
                                       const std::optional<std::string>& operand);

} // namespace storage::host
