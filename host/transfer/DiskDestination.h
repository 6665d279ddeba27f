#pragma once

#include "host/transfer/RootAttributes.h"

#include <set>
#include <string>

namespace storage::host {

/// Whether a path on disk leads to a folder.
bool isDiskFolder(const std::string& path);

/// Maps the sources of one command to paths on disk: into an existing folder, each under its own name, or to
/// the destination path itself, for a single source.
class DiskDestination {
public:
    /// @param operand  the destination operand of the user
    /// @param sources  number of sources
    /// @throws CommandError when there are several and the destination is not a folder, or when the folder of
    ///         the destination does not exist
    DiskDestination(const std::string& operand, std::size_t sources);

    /// The target path of a source of this name. The target of a source without a name is the destination
    /// itself.
    /// @throws CommandError when another source of the command has the same target
    std::string of(const std::string& name);

    /// Whether the target folder of a source of this name gets the attributes of the source.
    RootAttributes attributesFor(const std::string& name) const;

private:
    std::string path_;
    bool isFolder_;
    std::set<std::string> taken_; ///< results of `of`
};

} // namespace storage::host
