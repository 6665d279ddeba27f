#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// Where the paths in words of a line are looked up. Paths are as the user writes them, relative ones start at the
/// current folder.
class PathLookup {
public:
    enum class Wanted { All, Folders };

    PathLookup() = default;
    PathLookup(const PathLookup&) = delete;
    PathLookup& operator=(const PathLookup&) = delete;
    virtual ~PathLookup() = default;

    /// The names in a folder, of any bytes. None if there is no such folder.
    /// @param folder  ends in a slash, or is empty for the current folder; it may also be a prefix alone
    virtual std::vector<std::string> names(const std::string& folder, Wanted wanted) const = 0;

    virtual bool exists(const std::string& path, Wanted wanted) const = 0;

    /// How many bytes at the beginning of a word do not belong to a path but say where it is looked up.
    virtual std::size_t prefixLength(std::string_view) const { return 0; }
};

} // namespace storage::host
