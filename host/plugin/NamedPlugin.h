#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// The value of one option `--plugin [NAME=]PATH`. A value.
struct NamedPlugin {
    std::string name; ///< name of its storage in a session; may be empty
    std::string path;
};

/// Parses the options `--plugin` of a session. The text before the first "=" is a name, unless it contains a
/// slash. Among several plug-ins, the one without a name gets the name "default" and comes first.
/// @param words  the values of `--plugin`
/// @throws UsageError for an empty path, an empty or duplicate name, a name with characters other than
///     letters, digits, "-" and "_", and two plug-ins without a name
std::vector<NamedPlugin> namedPlugins(const std::vector<std::string>& words);

/// The path of the plug-in, for commands that accept only one; nothing if none is given.
/// @throws UsageError when there are several, or it has a name
std::optional<std::string> onlyPlugin(const std::vector<NamedPlugin>& plugins);

} // namespace storage::host
