#pragma once

#include <optional>
#include <string>

namespace storage::host {

/// How a storage is to be mounted. A value.
struct MountOptions {
    enum class Place { Foreground, Background };
    enum class Writing { Allowed, Refused };
    enum class Users { Owner, Everybody };
    enum class Ending {
        Adds,         ///< the export adds to the folder and replaces files in it
        Synchronizes, ///< it also removes what was imported from the folder and is not in the storage any more
    };

    std::string mountPoint = {}; ///< absolute path of an existing folder of the disk
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
    unsigned threads = 0; ///< that answer requests; at least 1
};

} // namespace storage::host
