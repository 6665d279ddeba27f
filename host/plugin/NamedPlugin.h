#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// A plug-in as `--plugin [NAME=]PATH` gives it. A value.
struct NamedPlugin {
    std::string name; ///< of its storage in a session; may be empty
    std::string path;
};

/// The plug-ins of a session. The text before the first "=" is a name, unless a slash is in it. Beside others, the one without
/// a name is called "default" and comes first.
/// @param words  the values of `--plugin`
/// @throws UsageError for a name that is empty, given twice or has other characters than letters, digits, "-" and "_", and for
///         two plug-ins without a name
std::vector<NamedPlugin> namedPlugins(const std::vector<std::string>& words);

/// The path of the plug-in where there can be only one; nothing if none is given.
/// @throws UsageError when there are several, or it has a name
std::optional<std::string> onlyPlugin(const std::vector<NamedPlugin>& plugins);

} // namespace storage::host
