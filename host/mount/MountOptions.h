#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace storage::host {

/// The options of a mount. A value.
struct MountOptions {
    enum class Place { Foreground, Background };
    enum class Writing { Allowed, Refused };
    enum class Users { Owner, Everybody };
    enum class Xattrs {
        Kept,
        Refused, ///< not imported either; saves the request for security.capability before a write
    };
    enum class Ending {
        Adds,         ///< the export adds entries to the folder and replaces files in it
        Synchronizes, ///< it also removes entries that were imported from there and removed since
    };

    std::string mountPoint = {};                      ///< absolute path of an existing folder of the disk
    std::string source = "qzstorage";                 ///< the source in the system's list of mounts
    std::optional<std::string> plugin = std::nullopt; ///< overrides the plug-in of the command line

    // Absolute paths of folders of the disk.
    std::optional<std::string> importFrom = std::nullopt; ///< imported before the mount
    std::optional<std::string> exportTo = std::nullopt;   ///< target of the export at the end
    std::optional<std::string> rescueTo = std::nullopt;   ///< base of the `RescueFolder`
    Ending ending = Ending::Adds;
    Place place = Place::Foreground;
    Writing writing = Writing::Allowed;
    Users users = Users::Owner;
    Xattrs xattrs = Xattrs::Kept;
    unsigned threads = 0; ///< that process requests; must be set to at least 1

    // Limits; none by default.
    std::optional<std::uint64_t> size = std::nullopt;    ///< bytes of content
    std::optional<std::uint64_t> entries = std::nullopt; ///< including the root

    // Owner of the root and of entries that exist in the storage already; the process by default.
    std::optional<uid_t> user = std::nullopt;
    std::optional<gid_t> group = std::nullopt;

    std::optional<mode_t> rootPermissions = std::nullopt;
    std::vector<std::string> kernelOptions = {}; ///< passed on to the kernel, in this order
};

} // namespace storage::host
