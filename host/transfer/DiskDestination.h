#pragma once

#include "host/transfer/RootAttributes.h"

#include <set>
#include <string>

namespace storage::host {

/// Where on the disk the sources of one command go: into a folder that exists, each under its own name, or
/// else to the destination path itself, of which there can be only one.
class DiskDestination {
public:
    /// @param operand  the destination as the user gave it
    /// @param sources  how many entries are to go there
    /// @throws CommandError when there are several and the destination is not a folder
    DiskDestination(const std::string& operand, std::size_t sources);

    /// Where a source of this name goes. A source without a name goes to the destination itself.
    /// @throws CommandError when another source of the command went there already
    std::string of(const std::string& name);

    /// What becomes of the folder that a source of this name goes to.
    RootAttributes attributesFor(const std::string& name) const;

private:
    std::string path_;
    bool isFolder_;
    std::set<std::string> taken_; ///< what `of` has given away
};

} // namespace storage::host
