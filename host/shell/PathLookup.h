#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// Looks up paths of a command line, in the storages or on the disk. Paths are as typed by the user; relative
/// paths start at the current folder.
class PathLookup {
public:
    enum class Wanted { All, Folders };

    PathLookup() = default;
    PathLookup(const PathLookup&) = delete;
    PathLookup& operator=(const PathLookup&) = delete;
    virtual ~PathLookup() = default;

    /// Returns the names in a folder, which may be any bytes. Returns none if there is no such folder.
    /// @param folder  ends in a slash, is empty for the current folder, or is the prefix of a storage
    virtual std::vector<std::string> names(const std::string& folder, Wanted wanted) const = 0;

    virtual bool exists(const std::string& path, Wanted wanted) const = 0;

    /// Returns the length in bytes of a word's prefix that selects a storage and is not part of the path.
    virtual std::size_t prefixLength(std::string_view) const { return 0; }
};

} // namespace storage::host
