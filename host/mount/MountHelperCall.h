#pragma once

#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// What mount(8) asks for when it calls the program by the name under which it looks for a helper,
/// `mount.fuse.qzstorage SOURCE MOUNTPOINT [-sfnv] [-o OPTIONS] [-t TYPE]`. A value.
struct MountHelperCall {
    std::vector<std::string> words; ///< of the command line that does the same
    bool isFake = false;            ///< only check the command line

    /// Nothing when the program was called by another name.
    /// @throws UsageError
    static std::optional<MountHelperCall> of(int argc, const char* const* argv);
};

} // namespace storage::host
