#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// The command line with which mount(8) calls the program as its helper, `mount.fuse.qzstorage SOURCE
/// MOUNTPOINT [-sfnv] [-o OPTIONS] [-t TYPE]`. A value.
struct MountHelperCall {
    std::vector<std::string> words; ///< the equivalent command line of the program
    bool isFake = false;            ///< only check the command line

    /// Returns nothing when the program was called by another name.
    /// @throws UsageError
    static std::optional<MountHelperCall> of(int argc, const char* const* argv);
};

} // namespace storage::host
