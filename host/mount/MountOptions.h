#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace storage::host {

/// How a storage is to be mounted. A value.
struct MountOptions {
    enum class Place { Foreground, Background };
    enum class Writing { Allowed, Refused };
    enum class Users { Owner, Everybody };
    enum class Xattrs {
        Kept,
        Refused, ///< not even imported: the kernel does not ask for security.capability before a write
    };
    enum class Ending {
        Adds,         ///< the export adds to the folder and replaces files in it
        Synchronizes, ///< it also removes what was imported from the folder and is not in the storage any more
    };

    std::string mountPoint = {};                      ///< absolute path of an existing folder of the disk
    std::string source = "qzstorage";                 ///< what the system shows as mounted
    std::optional<std::string> plugin = std::nullopt; ///< in place of the one of the command line
    std::optional<std::string> importFrom =
        std::nullopt; ///< folder of the disk whose content the storage is to begin with
    std::optional<std::string> exportTo =
        std::nullopt; ///< absolute path on disk where the storage's content is to end up
    std::optional<std::string> rescueTo =
        std::nullopt; ///< absolute path of the folder for what cannot be exported
    Ending ending = Ending::Adds;
    Place place = Place::Foreground;
    Writing writing = Writing::Allowed;
    Users users = Users::Owner;
    Xattrs xattrs = Xattrs::Kept;
    unsigned threads = 0;                             ///< that answer requests; at least 1
    std::optional<std::uint64_t> size = std::nullopt; ///< bytes for content; no limit without
    std::optional<std::uint64_t> entries =
        std::nullopt;                          ///< files and folders, with the root; no limit without
    std::optional<uid_t> user = std::nullopt;  ///< of the root and what the storage begins with
    std::optional<gid_t> group = std::nullopt; ///< the same
    std::optional<mode_t> rootPermissions = std::nullopt;
    std::vector<std::string> kernelOptions = {}; ///< those that only the kernel heeds, in their order
};

} // namespace storage::host
