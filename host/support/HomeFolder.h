#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// The home folder of the user, an absolute path: `$HOME`, or the one of the user database if it is not set.
/// Nothing if there is neither. Not thread-safe.
std::optional<std::string> homeFolder();

} // namespace storage::host
